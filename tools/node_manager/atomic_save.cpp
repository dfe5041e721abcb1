#include "atomic_save.hpp"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

namespace telvor::node_manager {

namespace {

[[noreturn]] void fail(const std::string& path, const char* step, int error) {
  throw SaveError("cannot save " + path + ": " + step + " failed (" + std::strerror(error) +
                  "); the file is unchanged");
}

}  // namespace

void saveAtomically(const std::string& path, std::string_view bytes) {
  const std::filesystem::path target(path);
  const std::filesystem::path folder = target.has_parent_path() ? target.parent_path() : ".";
  std::string temporary = (folder / ("." + target.filename().string() + ".XXXXXX")).string();
  const int fd = ::mkstemp(temporary.data());
  if (fd < 0) fail(path, "creating a temporary file", errno);
  const auto abandon = [&](const char* step) {
    const int error = errno;
    ::close(fd);
    ::unlink(temporary.c_str());
    fail(path, step, error);
  };
  struct stat original {};
  if (::stat(path.c_str(), &original) == 0 && ::fchmod(fd, original.st_mode & 07777) != 0) abandon("copying permissions");
  for (std::size_t written = 0; written < bytes.size();) {
    const ssize_t n = ::write(fd, bytes.data() + written, bytes.size() - written);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) abandon("writing");
    written += static_cast<std::size_t>(n);
  }
  if (::fsync(fd) != 0) abandon("flushing to disk");
  if (::close(fd) != 0) {
    const int error = errno;
    ::unlink(temporary.c_str());
    fail(path, "closing", error);
  }
  if (::rename(temporary.c_str(), path.c_str()) != 0) {
    const int error = errno;
    ::unlink(temporary.c_str());
    fail(path, "renaming over the original", error);
  }
  // The rename itself is durable once the folder is flushed; a failure here loses nothing.
  if (const int dir = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY); dir >= 0) {
    ::fsync(dir);
    ::close(dir);
  }
}

}  // namespace telvor::node_manager
