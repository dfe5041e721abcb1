// The tool's ways to fail, one per exit status, the same for every command:
//   0 success; 1 the answer is no (check found problems, echo found a node not online);
//   2 usage; 3 the input cannot be used; 4 the result could not be saved.
#pragma once

#include <stdexcept>
#include <string>

namespace telvor::tool {

enum ExitStatus : int { kSuccess = 0, kAnswerNo = 1, kUsage = 2, kUnusableInput = 3, kNotSaved = 4 };

// Unusable options or values, or a selector matching no node or several (exit status 2).
struct UsageError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The input cannot be used: unreadable, or not a catalogue ("KIND at PATH: DESCRIPTION",
// exit status 3).
struct InputError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The result could not be saved: no space, permissions, lock not obtained (exit status 4).
struct SaveFailure : std::runtime_error {
  using std::runtime_error::runtime_error;
};

}  // namespace telvor::tool
