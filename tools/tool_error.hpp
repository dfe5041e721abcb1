// The tool's ways to fail: a usage error (exit status 2, with the usage line), a file that
// cannot be read or saved (exit status 2, one line naming the path and the system's reason)
// and a failure of the input (exit status 1, one line naming the kind, path and description).
#pragma once

#include <stdexcept>
#include <string>

namespace telvor::tool {

// Unusable options, or a file that cannot be opened or written.
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// A file that cannot be read or saved: "PATH: REASON", with advice where there is some.
struct FileError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The input was read but does not give what was asked: "KIND at PATH: DESCRIPTION".
struct InputError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace telvor::tool
