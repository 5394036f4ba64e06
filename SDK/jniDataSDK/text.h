// Text and bytes across the boundary. Java strings arrive as modified UTF-8; the client API speaks
// the system encoding. Nothing else of the bridge calls the converters of zrOS.
//
// None of the four helpers reports an error or raises a Java exception: a text that does not
// convert is an empty one. Allocations are not checked. Threads: any, each with its own JNIEnv.
#ifndef ZERVANE_BRIDGE_TEXT_H
#define ZERVANE_BRIDGE_TEXT_H

#include <jni.h>

#include "data_types.h"
#include "memory.h"

namespace zervane::bridge {

// A new malloc block with the NUL-terminated text in the system encoding, which the caller frees.
// Empty for null and for a text that does not convert; never a null pointer.
char* jstringToWindows(JNIEnv* env, jstring jstr);

// A new Java string from the system encoding; str is not null and stays the caller's. Empty when
// the text does not convert.
jstring WindowsTojstring(JNIEnv* env, char* str);

// *buf becomes a new malloc block, which the caller frees, with the first *nlen bytes of jarray;
// *nlen is the array's length modulo 65,536.
void jbyteArrayToChar(JNIEnv* env, jbyteArray jarray, char** buf, uint16* nlen);

// A new Java byte array of the nlen bytes at str.
jbyteArray charTojbyteArray(JNIEnv* env, char* str, uint16 nlen);

// jstringToWindows with an owner.
inline Text ToSystem(JNIEnv* env, jstring string) { return Text(jstringToWindows(env, string)); }

// Copies a converted string, terminator included, into a record's character array. The length is
// the caller's affair: a text that is too long runs into the members that follow.
void CopyText(JNIEnv* env, jstring string, char* array);

// Copies an already converted text in the same way.
void CopyText(const Text& text, char* array);

// Converts and copies a string whose converted form is never freed; the callers say that it is so.
void CopyTextLeaking(JNIEnv* env, jstring string, char* array);

}  // namespace zervane::bridge

#endif
