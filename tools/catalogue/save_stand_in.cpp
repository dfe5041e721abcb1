// STAND-IN for tools/support's atomic save; deleted when that lands.
#include "save_stand_in.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <string>

namespace telvor::tool::support {
namespace {

[[noreturn]] void fail(const std::filesystem::path& path, const std::string& what, int error) {
  throw SaveError("cannot save \"" + path.string() + "\": " + what + ": " + std::strerror(error));
}

}  // namespace

void saveAtomically(const std::filesystem::path& requested, std::string_view bytes, const SaveOptions& options) {
  std::filesystem::path path = requested;
  struct stat old {};
  const bool exists = ::lstat(path.c_str(), &old) == 0;
  if (exists && S_ISLNK(old.st_mode)) {
    if (!options.followSymlinks) fail(path, "it is a symbolic link (refused)", ELOOP);
    std::error_code ec;
    path = std::filesystem::canonical(path, ec);
    if (ec) fail(requested, "cannot resolve the link", ec.value());
    if (::stat(path.c_str(), &old) != 0) fail(path, "stat", errno);
  }
  const auto directory = path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
  std::string temporary = (directory / ("." + path.filename().string() + ".XXXXXX")).string();
  const int fd = ::mkstemp(temporary.data());
  if (fd < 0) fail(path, "cannot create a temporary file", errno);
  const auto abandon = [&](const char* what) {
    const int error = errno;
    ::close(fd);
    ::unlink(temporary.c_str());
    fail(path, what, error);
  };
  if (::fchmod(fd, exists ? (old.st_mode & 07777) : 0600) != 0) abandon("chmod");
  for (std::size_t done = 0; done < bytes.size();) {
    const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) abandon("write");
    done += static_cast<std::size_t>(n);
  }
  if (::fsync(fd) != 0) abandon("fsync");
  if (::close(fd) != 0) {
    const int error = errno;
    ::unlink(temporary.c_str());
    fail(path, "close", error);
  }
  if (::rename(temporary.c_str(), path.c_str()) != 0) {
    const int error = errno;
    ::unlink(temporary.c_str());
    fail(path, "rename", error);
  }
  const int dir = ::open(directory.c_str(), O_RDONLY | O_DIRECTORY);
  if (dir >= 0) {
    ::fsync(dir);
    ::close(dir);
  }
}

}  // namespace telvor::tool::support
