#include "catalogue_lock.hpp"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <thread>
#include <utility>

#include "catalogue_error.hpp"

namespace telvor::catalogue {

std::filesystem::path CatalogueLock::sidecarOf(const std::filesystem::path& catalogue) {
  auto sidecar = catalogue;
  sidecar += ".lock";
  return sidecar;
}

CatalogueLock CatalogueLock::acquire(const std::filesystem::path& catalogue, std::chrono::milliseconds wait) {
  const auto sidecar = sidecarOf(catalogue);
  const int fd = ::open(sidecar.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (fd < 0)
    throw CatalogueError(CatalogueError::Kind::notSaved, "cannot open the lock file \"" + sidecar.string() +
                                                             "\": " + std::strerror(errno));
  const auto deadline = std::chrono::steady_clock::now() + wait;
  // Polling rather than a blocking flock with an alarm: no signal handlers in a library.
  auto pause = std::chrono::milliseconds(5);
  while (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
    const int error = errno;
    if (error == EINTR) continue;
    if (error != EWOULDBLOCK || std::chrono::steady_clock::now() >= deadline) {
      ::close(fd);
      const std::string why = error == EWOULDBLOCK ? "another editor holds it" : std::strerror(error);
      throw CatalogueError(CatalogueError::Kind::notSaved,
                           "cannot lock \"" + catalogue.string() + "\" (" + sidecar.string() + "): " + why +
                               "; nothing was changed. Try again, or wait longer with --wait SECONDS.");
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
