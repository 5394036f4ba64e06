#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "tests/engine/derived/against_reference.h"
#include "tests/fuzz/target.h"

// Any bytes as an expression: the reference refuses the same ones, and has the same values.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto difference = zervane::FindDifference(text);
  if (!difference) return 0;
  std::fprintf(stderr, "fuzz: %s\n", difference->c_str());
  std::abort();
}
