#include "descriptor.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

namespace telvor::catalogue::detail {

int aboveStandardStreams(int fd) noexcept {
  if (fd < 0 || fd > 2) return fd;
  const int moved = ::fcntl(fd, F_DUPFD_CLOEXEC, 3);
  const int error = errno;
  ::close(fd);
  errno = error;
  return moved;
}

}  // namespace telvor::catalogue::detail
