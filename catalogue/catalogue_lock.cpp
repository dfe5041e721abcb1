#include "telvor/catalogue/catalogue_lock.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <thread>
#include <utility>

#include "descriptor.hpp"
#include "telvor/catalogue/catalogue_error.hpp"

namespace telvor::catalogue {

std::filesystem::path CatalogueLock::sidecarOf(const std::filesystem::path& catalogue) {
  auto sidecar = catalogue;
  sidecar += ".lock";
  return sidecar;
}

CatalogueLock CatalogueLock::acquire(const std::filesystem::path& catalogue, std::chrono::milliseconds wait) {
  const auto sidecar = sidecarOf(catalogue);
  using Kind = CatalogueError::Kind;
  using Operation = CatalogueError::Operation;
  const int fd =
      detail::aboveStandardStreams(::open(sidecar.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
  if (fd < 0) {
    const int error = errno;
    // The lock lives beside the catalogue: a folder that cannot be written is what to fix.
    if (error == EACCES || error == EROFS || error == EPERM) {
      const auto folder = catalogue.has_parent_path() ? catalogue.parent_path() : std::filesystem::path(".");
      throw CatalogueError(Kind::storage, Operation::locking,
                           "cannot write in the folder \"" + folder.string() + "\" (" + std::strerror(error) +
                               "): saving needs a lock file and a new copy there; nothing was changed",
                           catalogue, error);
    }
    throw CatalogueError(Kind::storage, Operation::locking,
                         "cannot open its lock file \"" + sidecar.string() + "\": " + std::strerror(error),
                         catalogue, error);
  }
  const auto deadline = std::chrono::steady_clock::now() + wait;
  // Polling rather than a blocking flock with an alarm: no signal handlers in a library.
  auto pause = std::chrono::milliseconds(5);
  while (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
    const int error = errno;
    if (error == EINTR) continue;
    if (error != EWOULDBLOCK || std::chrono::steady_clock::now() >= deadline) {
      ::close(fd);
      const bool busy = error == EWOULDBLOCK;
      throw CatalogueError(busy ? Kind::unavailable : Kind::storage, Operation::locking,
                           "cannot lock it (" + sidecar.string() + "): " +
                               (busy ? std::string("another editor holds the lock") : std::strerror(error)) +
                               "; nothing was changed.",
                           catalogue, error);
    }
    std::this_thread::sleep_for(pause);
    pause = std::min(pause * 2, std::chrono::milliseconds(100));
  }
  return CatalogueLock(fd);
}

CatalogueLock::CatalogueLock(CatalogueLock&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

CatalogueLock& CatalogueLock::operator=(CatalogueLock&& other) noexcept {
  if (this != &other) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = std::exchange(other.fd_, -1);
  }
  return *this;
}

CatalogueLock::~CatalogueLock() {
  if (fd_ >= 0) ::close(fd_);  // closing the last descriptor releases the flock
}

}  // namespace telvor::catalogue
