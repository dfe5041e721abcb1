#include "connection.hpp"

#include <fcntl.h>
#include <netdb.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

#include "echo_reasons.hpp"

namespace telvor::dcmtk {
namespace {

using Clock = std::chrono::steady_clock;

EchoResult failed(EchoOutcome outcome, std::string reason) { return {outcome, std::move(reason)}; }

// One getaddrinfo call. It cannot be interrupted, so it runs on a thread of its own that
// is left behind when the deadline passes; whoever lets go of the lookup last frees it.
struct Lookup {
  std::mutex mutex;
  std::condition_variable finished;
  bool done = false;
  int status = 0;
  addrinfo* list = nullptr;

  Lookup() = default;
  Lookup(const Lookup&) = delete;
  Lookup& operator=(const Lookup&) = delete;
  ~Lookup() {
    if (list != nullptr) ::freeaddrinfo(list);
  }

  void run(const std::string& host, const std::string& service, int flags) {
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags;
    addrinfo* found = nullptr;
    const int rc = ::getaddrinfo(host.c_str(), service.c_str(), &hints, &found);
    const std::lock_guard lock(mutex);
    status = rc;
    list = rc == 0 ? found : nullptr;
    done = true;
    finished.notify_all();
  }
};

// The lookup of `host`, finished, or absent when the deadline came first. Addresses
// (IPv4, IPv6) are taken as they are, without asking the name service.
std::optional<std::shared_ptr<Lookup>> lookUp(const std::string& host, const std::string& service,
                                              Deadline deadline) {
  auto numeric = std::make_shared<Lookup>();
  numeric->run(host, service, AI_NUMERICHOST | AI_NUMERICSERV);
  if (numeric->status != EAI_NONAME) return numeric;

  auto lookup = std::make_shared<Lookup>();
  try {
    std::thread([lookup, host, service] { lookup->run(host, service, AI_NUMERICSERV); }).detach();
  } catch (const std::system_error&) {
    lookup->run(host, service, AI_NUMERICSERV);  // no thread to spare: wait for it here
    return lookup;
  }
  std::unique_lock lock(lookup->mutex);
  if (!lookup->finished.wait_until(lock, deadline, [&] { return lookup->done; })) return std::nullopt;
  return lookup;
}

int millisecondsUntil(Deadline deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
  return static_cast<int>(std::clamp<std::int64_t>(left, 0, 24 * 60 * 60 * 1000));
}

enum class Attempt { connected, failed, timedOut };

// Connects `socket` to `address`; on failure `error` holds the reason's errno.
Attempt connectOne(const addrinfo& address, Socket& socket, int& error, Deadline deadline) {
  socket = Socket(::socket(address.ai_family, address.ai_socktype | SOCK_NONBLOCK | SOCK_CLOEXEC,
                           address.ai_protocol));
  if (socket.fd() < 0) {
    error = errno;
    return Attempt::failed;
  }
  if (::connect(socket.fd(), address.ai_addr, address.ai_addrlen) == 0) return Attempt::connected;
  if (errno != EINPROGRESS) {
    error = errno;
    return Attempt::failed;
  }
  pollfd wait{socket.fd(), POLLOUT, 0};
  for (;;) {
    const int ready = ::poll(&wait, 1, millisecondsUntil(deadline));
    if (ready > 0) break;
    if (ready == 0) return Attempt::timedOut;
    if (errno != EINTR) {
      error = errno;
      return Attempt::failed;
    }
  }
  socklen_t length = sizeof error;
  if (::getsockopt(socket.fd(), SOL_SOCKET, SO_ERROR, &error, &length) != 0) error = errno;
  return error == 0 ? Attempt::connected : Attempt::failed;
}

std::string errorText(int number) {
  char buffer[256];
  // The GNU strerror_r returns its text, which may or may not be `buffer`.
  return ::strerror_r(number, buffer, sizeof buffer);
}

}  // namespace

Socket& Socket::operator=(Socket&& other) noexcept {
  if (this != &other) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = other.release();
  }
  return *this;
}

Socket::~Socket() {
  if (fd_ >= 0) ::close(fd_);
}

std::string_view hostOf(std::string_view address) noexcept {
  if (address.size() >= 2 && address.front() == '[' && address.back() == ']')
    return address.substr(1, address.size() - 2);
  return address;
}

std::variant<Socket, EchoResult> connectBefore(const EchoTarget& target, Deadline deadline,
                                              std::string_view timeoutText) {
  const std::string endpoint = endpointOf(target);
  const std::string host(hostOf(target.address));
  const auto lookup = lookUp(host, std::to_string(target.port), deadline);
  if (!lookup)
    return failed(EchoOutcome::timedOut, "The address \"" + target.address + "\" was not resolved within " +
                                             std::string(timeoutText) +
                                             ": this computer's name service (DNS) does not answer; check it, or "
                                             "give the node's IP address.");
  if ((*lookup)->status != 0)
    return failed(EchoOutcome::addressNotFound, "The address \"" + target.address + "\" cannot be resolved (" +
                                                    ::gai_strerror((*lookup)->status) +
                                                    "): check the host name and this computer's name service "
                                                    "(DNS).");

  int error = 0;
  bool allRefused = true;
  for (const addrinfo* address = (*lookup)->list; address != nullptr; address = address->ai_next) {
    Socket socket;
    const Attempt attempt = connectOne(*address, socket, error, deadline);
    if (attempt == Attempt::connected) return socket;
    if (attempt == Attempt::timedOut)
      return failed(EchoOutcome::timedOut, "No connection to " + endpoint + " within " + std::string(timeoutText) +
                                               ": the host is down or unreachable, or a firewall drops the "
                                               "connection.");
    allRefused = allRefused && error == ECONNREFUSED;
  }
  if (allRefused && error == ECONNREFUSED)
    return failed(EchoOutcome::connectionRefused,
                  "Connection to " + endpoint +
                      " refused: nothing listens on that port; check the port, and that the DICOM service runs.");
  return failed(EchoOutcome::connectionFailed, "No connection to " + endpoint + " (" + errorText(error) +
                                                   "): check the address and this computer's network.");
}

}  // namespace telvor::dcmtk
