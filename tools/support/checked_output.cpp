#include "support/checked_output.hpp"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <iostream>
#include <system_error>

namespace telvor::tool {

OutputError::OutputError(int errorNumber)
    : std::runtime_error("standard output: " + std::system_category().message(errorNumber)),
      errorNumber_(errorNumber) {}

bool OutputError::brokenPipe() const noexcept { return errorNumber_ == EPIPE; }

void writeStandardOutput(std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(STDOUT_FILENO, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) throw OutputError(written < 0 ? errno : EIO);
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

void finishStandardOutput() {
  // The streams keep only a failure flag, not its errno; EIO stands for "the write failed".
  errno = 0;
  std::cout.flush();
  if (std::cout.fail()) throw OutputError(errno != 0 ? errno : EIO);
  if (std::fflush(stdout) != 0 || std::ferror(stdout)) throw OutputError(errno != 0 ? errno : EIO);
}

}  // namespace telvor::tool
