#pragma once

#include <fmt/format.h>
#include <spdlog/logger.h>

// What a logger does with a text and its arguments is compiled once, in fmt.cpp: it would take
// seconds in each file that logs.
FMT_BEGIN_NAMESPACE
namespace detail {
extern template void vformat_to(buffer<char>&, basic_string_view<char>,
                                basic_format_args<buffer_context<char>>, locale_ref);
}
FMT_END_NAMESPACE
