// The tool's two ways to fail: a usage error (exit status 2, with the usage line) and a
// failure of the input (exit status 1, one line naming the kind, path and description).
#pragma once

#include <stdexcept>
#include <string>

namespace telvor::tool {

// Unusable options, or a file that cannot be opened or written.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The input was read but does not give what was asked: "KIND at PATH: DESCRIPTION".
struct InputError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace telvor::tool
