// Standard output whose every write is checked, so that output lost to a full disk or a
// closed pipe ends the program with an error instead of a silent success.
//
//   try {
//     writeStandardOutput(table);
//     finishStandardOutput();   // before returning 0
//   } catch (const OutputError& e) {
//     if (!e.brokenPipe()) std::cerr << e.what() << '\n';  // "standard output: No space left on device"
//     return 2;
//   }
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace telvor::tool {

// A write to standard output failed. what() is "standard output: REASON".
class OutputError : public std::runtime_error {
 public:
  explicit OutputError(int errorNumber);

  int errorNumber() const noexcept { return errorNumber_; }
  // The reader went away (EPIPE): command-line tools end quietly then.
  bool brokenPipe() const noexcept;

 private:
  int errorNumber_;
};

// Writes all of `bytes` to file descriptor 1 with write(2), unbuffered. Throws OutputError.
void writeStandardOutput(std::string_view bytes);

// Flushes C++ std::cout and C stdout, for output that went around writeStandardOutput, and
// throws OutputError if either has failed at any point. Call before a successful exit.
void finishStandardOutput();

}  // namespace telvor::tool
