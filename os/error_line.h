// A line in the library's log, for the few things that go wrong before there is anyone to ask.
#ifndef ZERVANE_OS_ERROR_LINE_H_
#define ZERVANE_OS_ERROR_LINE_H_

#include <string>

namespace zervane::os {

// Writes an error to standard error, in the form of libzrVaskAPI's log; a ZERVANE_LOG that silences
// errors there silences this one. Allocates nothing.
void WriteErrorLine(const std::string& message) noexcept;

}  // namespace zervane::os

#endif  // ZERVANE_OS_ERROR_LINE_H_
