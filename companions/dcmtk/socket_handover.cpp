#include "socket_handover.hpp"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <system_error>

namespace telvor::dcmtk {
namespace {

sockaddr_in loopback(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  return address;
}

// The options DCMTK may have set on its socket, carried over to the peer's.
struct SocketOption {
  int level;
  int name;
};
constexpr std::array<SocketOption, 4> kCarriedOptions{
    {{SOL_SOCKET, SO_RCVTIMEO}, {SOL_SOCKET, SO_SNDTIMEO}, {SOL_SOCKET, SO_LINGER}, {IPPROTO_TCP, TCP_NODELAY}}};

void carryOptions(int from, int to) noexcept {
  for (const auto& option : kCarriedOptions) {
    std::array<unsigned char, 64> value{};
    socklen_t length = value.size();
    if (::getsockopt(from, option.level, option.name, value.data(), &length) == 0)
      ::setsockopt(to, option.level, option.name, value.data(), length);
  }
  const int flags = ::fcntl(from, F_GETFL);
  if (flags >= 0) ::fcntl(to, F_SETFL, flags);
}

}  // namespace

SocketHandover::SocketHandover() {
  Socket listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address = loopback(0);
  socklen_t length = sizeof address;
  if (listener.fd() < 0 || ::bind(listener.fd(), reinterpret_cast<sockaddr*>(&address), length) != 0 ||
      ::listen(listener.fd(), 1) != 0 ||
      ::getsockname(listener.fd(), reinterpret_cast<sockaddr*>(&address), &length) != 0)
    return;
  address_ = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
  listener_ = std::move(listener);
}

bool SocketHandover::replace(int dcmtkSocket) noexcept {
  if (!ready() || peer_ < 0) return false;
  // DCMTK's connection waits in the listener's queue: take it out and check it is DCMTK's.
  pollfd waiting{listener_.fd(), POLLIN, 0};
  if (::poll(&waiting, 1, 1000) != 1) return false;
  sockaddr_in accepted{};
  sockaddr_in dcmtkSide{};
  socklen_t acceptedLength = sizeof accepted;
  socklen_t dcmtkLength = sizeof dcmtkSide;
  const Socket inbound(
      ::accept4(listener_.fd(), reinterpret_cast<sockaddr*>(&accepted), &acceptedLength, SOCK_CLOEXEC));
  if (inbound.fd() < 0 || ::getsockname(dcmtkSocket, reinterpret_cast<sockaddr*>(&dcmtkSide), &dcmtkLength) != 0 ||
      accepted.sin_port != dcmtkSide.sin_port)
    return false;
  carryOptions(dcmtkSocket, peer_);
  // dup2 closes DCMTK's loopback connection and gives its descriptor the peer's.
  return ::dup2(peer_, dcmtkSocket) == dcmtkSocket;
}

Watchdog::Watchdog(int fd, Deadline deadline) {
  try {
    thread_ = std::thread([this, fd, deadline] {
      std::unique_lock lock(mutex_);
      if (wake_.wait_until(lock, deadline, [this] { return stopping_; })) return;
      fired_ = true;
      ::shutdown(fd, SHUT_RDWR);
    });
  } catch (const std::system_error&) {
    // No thread to spare: DCMTK's own timeouts, counted per read, still apply.
  }
}

Watchdog::~Watchdog() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  wake_.notify_all();
  if (thread_.joinable()) thread_.join();
}

}  // namespace telvor::dcmtk
