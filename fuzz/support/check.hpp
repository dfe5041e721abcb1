// Invariant checks for the fuzz targets. A broken invariant prints what was expected and
// what happened, then aborts, so that libFuzzer records the input as a crash.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace telvor::fuzz {

[[noreturn]] inline void fail(std::string_view invariant, std::string_view detail = {}) {
  std::fprintf(stderr, "\n*** broken invariant: %.*s\n", static_cast<int>(invariant.size()), invariant.data());
  if (!detail.empty()) std::fprintf(stderr, "    %.*s\n", static_cast<int>(detail.size()), detail.data());
  std::abort();
}

inline void check(bool holds, std::string_view invariant, std::string_view detail = {}) {
  if (!holds) fail(invariant, detail);
}

}  // namespace telvor::fuzz
