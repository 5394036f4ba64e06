#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "api/words/secret.h"
#include "engine/storage/codec/text_decoder.h"
#include "os/standard_text.h"

// The frontier of encodings: a caller's texts are in the process's encoding, as libzrOS names it,
// those inside are in UTF-8. Addresses and folder names pass as they are.

namespace zervane {

using os::StandardText;

// The calling thread's converter. May throw std::bad_alloc.
StandardText& TextsOfThisThread();

// The text in a caller's array, in UTF-8, until `texts` is used again. None (ZR3_ERR_INVALID_TEXT)
// when it does not end within the array, of which no more is read, or does not convert.
std::optional<std::string_view> ReadText(StandardText& texts, const char* array,
                                         std::size_t capacity);

// The same of a text that nobody else is to see: nothing of it stays in `texts` or on the stack.
std::optional<Secret> ReadSecret(StandardText& texts, const char* array, std::size_t capacity);

// Writes a text with its terminator into a caller's array, as well as its encoding and its size
// (at least 1) allow: a character that the encoding lacks becomes '?', and what does not fit is cut
// after a whole character. That something was cut is told once in the log.
void WriteText(StandardText& texts, std::string_view utf8, char* array, std::size_t capacity);

// The same for the text alone, without a terminator and of up to max_bytes, until `texts` is used
// again or the text ends.
std::string_view CallersText(StandardText& texts, std::string_view utf8, std::size_t max_bytes);

// The name of the process's encoding. May throw std::bad_alloc.
std::string ProcessEncoding();

// What makes UTF-8 of texts in the encoding of that name, answering none for one that does not
// convert; null for UTF-8, which stays as it is. None at all for a name that is no encoding's. May
// throw std::bad_alloc, as the decoder may, which any number of threads may call at once.
using storage::TextDecoder;
std::optional<TextDecoder> TextDecoderOf(std::string_view encoding);

}  // namespace zervane
