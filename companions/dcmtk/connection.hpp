// Reaching a peer before a deadline (internal): name resolution and the TCP connection.
//
// DCMTK 3.6.7 resolves names with a blocking lookup that no timeout bounds, and takes its
// "host:port" apart at the first colon, so IPv6 addresses never reach it. The companion
// therefore resolves and connects itself and hands DCMTK the connected socket
// (socket_handover.hpp); DCMTK still does the whole DICOM exchange.
#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <variant>

#include "telvor/dcmtk/echo.hpp"

namespace telvor::dcmtk {

using Deadline = std::chrono::steady_clock::time_point;

// A socket descriptor, closed when its owner goes.
class Socket {
 public:
  Socket() = default;
  explicit Socket(int fd) noexcept : fd_(fd) {}
  Socket(Socket&& other) noexcept : fd_(other.release()) {}
  Socket& operator=(Socket&& other) noexcept;
  Socket(const Socket&) = delete;
  Socket& operator=(const Socket&) = delete;
  ~Socket();

  int fd() const noexcept { return fd_; }
  int release() noexcept {
    const int fd = fd_;
    fd_ = -1;
    return fd;
  }

 private:
  int fd_ = -1;
};

// The host part of an address: an IPv6 address loses its brackets ("[::1]" -> "::1").
std::string_view hostOf(std::string_view address) noexcept;

// A connection to `target`'s address and port, trying each address the name resolves to
// in turn; or the result saying why there is none (addressNotFound, connectionRefused,
// connectionFailed, timedOut). Never waits beyond `deadline`. `timeoutText` is how the
// reason names the time allowed ("2 s").
std::variant<Socket, EchoResult> connectBefore(const EchoTarget& target, Deadline deadline,
                                              std::string_view timeoutText);

}  // namespace telvor::dcmtk
