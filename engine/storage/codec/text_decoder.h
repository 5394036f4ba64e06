#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace zervane::storage {

// A text in UTF-8 whose bytes were stored in the encoding that the database kept its texts in;
// nothing when they are no text of it. Threads: any.
//
// None, a decoder that is null: such texts are taken to be UTF-8 already.
using TextDecoder = std::function<std::optional<std::string>(std::string_view)>;

// The text of a STRING that was stored before texts were UTF-8, in a form that can be stored again.
// It never fails: bytes that are no text keep their ASCII characters, and each other byte becomes
// U+FFFD. What is longer than a STRING can be is cut after a whole character.
std::string TextOfStored(std::string_view bytes, const TextDecoder& decoder);

}  // namespace zervane::storage
