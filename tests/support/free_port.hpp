// A free TCP port on loopback, for tests that start servers of their own.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>

namespace telvor::testing_support {

// A TCP port on 127.0.0.1 that nothing used a moment ago (0 when none could be had).
inline std::uint16_t freePort() {
  const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  std::uint16_t port = 0;
  if (::bind(fd, reinterpret_cast<sockaddr*>(&address), length) == 0 &&
      ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) == 0)
    port = ntohs(address.sin_port);
  ::close(fd);
  return port;
}

}  // namespace telvor::testing_support
