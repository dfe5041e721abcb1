#include "telvor/catalogue/bounded_input.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "descriptor.hpp"

namespace telvor::catalogue {
namespace {

constexpr std::size_t kChunk = 64 * 1024;

[[noreturn]] void fail(const std::string& path, int error) {
  throw ReadError(inputName(path), error, std::system_category().message(error));
}

[[noreturn]] void tooLarge(const std::string& path, std::uint64_t limit) {
  throw ReadError(inputName(path), EFBIG, "larger than the input limit of " + std::to_string(limit) + " bytes");
}

}  // namespace

std::string inputName(const std::string& path) { return path == "-" ? "standard input" : path; }

ReadError::ReadError(std::string path, int errorNumber, const std::string& reason)
    : std::runtime_error(path + ": " + reason), path_(std::move(path)), errorNumber_(errorNumber) {}

std::string readBounded(const std::string& path, std::uint64_t limit) {
  const bool standardInput = path == "-";
  const int fd =
      standardInput ? STDIN_FILENO : detail::aboveStandardStreams(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (fd < 0) fail(path, errno);
  struct Closer {
    int fd;
    bool own;
    ~Closer() {
      if (own) ::close(fd);
    }
  } closer{fd, !standardInput};

  struct stat status {};
  if (::fstat(fd, &status) != 0) fail(path, errno);
  if (S_ISDIR(status.st_mode)) fail(path, EISDIR);
  std::string bytes;
  if (S_ISREG(status.st_mode)) {
    if (static_cast<std::uint64_t>(status.st_size) > limit) tooLarge(path, limit);
    bytes.reserve(static_cast<std::size_t>(status.st_size) + kReadAheadRoom);
  }
  // The size of a regular file may change while it is read, so every input is counted.
  char chunk[kChunk];
  for (;;) {
    const ssize_t got = ::read(fd, chunk, sizeof chunk);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) fail(path, errno);
    if (got == 0) return bytes;
    if (bytes.size() + static_cast<std::uint64_t>(got) > limit) tooLarge(path, limit);
    bytes.append(chunk, static_cast<std::size_t>(got));
  }
}

}  // namespace telvor::catalogue
