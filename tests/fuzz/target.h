#pragma once

#include <cstddef>
#include <cstdint>

// What a fuzz target defines: it takes any bytes and ends the process when something is wrong with
// what came of them.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
