/* Text conversion between UTF-8 and the system encoding.
 *
 * The system encoding is the character set of the process's locale environment (LC_ALL, LC_CTYPE,
 * LANG, in that order); the C and POSIX locales, and an environment that names none, mean UTF-8.
 * The environment variable ZERVANE_ENCODING (for example "GB18030") overrides it. Both are read
 * once, at the first conversion; setlocale is never called. An encoding that iconv does not know,
 * or one without ASCII in it (UTF-16, EBCDIC), cannot be had: UTF-8 takes its place, and a line on
 * standard error says so once, unless ZERVANE_LOG silences errors.
 *
 * The UTF-8 side speaks Java's modified UTF-8: a character outside the Basic Multilingual Plane is
 * a pair of three-byte surrogates. Standard four-byte sequences are accepted as well; they are
 * never produced. A text with an embedded NUL (0xC0 0x80) does not convert, rather than being cut.
 *
 * Both functions terminate what they write within the given capacity, and on failure leave an empty
 * text where there is room for one. Threads: any number at once. Nothing is allocated once a thread
 * has converted in each direction.
 */
#ifndef ZERVANE_OS_LANG_H
#define ZERVANE_OS_LANG_H

#ifdef __cplusplus
extern "C" {
#endif

/* Converts (modified) UTF-8 to the system encoding.
 *
 * src       NUL-terminated text; not null.
 * dst       receives the text with its NUL; not null; must not overlap src.
 * capacity  size of dst in bytes, terminator included.
 *
 * Returns 0, or a non-zero value when the text is malformed, has a character that the system
 * encoding lacks, or does not fit with its terminator. */
int os_lang_conv_utf8_to_sys(const char* src, char* dst, int capacity);

/* Converts the system encoding to modified UTF-8. Arguments and result as above. A text that fills
 * the capacity to the last byte is returned with its NUL inside the capacity or not at all. */
int os_lang_conv_sys_to_utf8(const char* src, char* dst, int capacity);

/* The name of the system encoding, which the client API's texts are in too; null while there are no
 * files or memory to find it. Once found it stays the same, and so does the pointer. */
const char* os_lang_encoding(void);

/* How many calls of os_lang_conv_utf8_to_sys have failed on the calling thread since it last asked
 * here; asking begins to count anew. The client API asks, so that the empty text which a failure
 * leaves is not taken for one that its caller meant. Nothing is allocated. */
int os_lang_take_failures(void);

#ifdef __cplusplus
}
#endif

#endif
