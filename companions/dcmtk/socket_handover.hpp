// Giving DCMTK a socket that is already connected, and taking it away at a deadline
// (internal).
//
// DCMTK's association request opens its own connection to the presentation address. A
// SocketHandover offers it a listener on 127.0.0.1 to connect to; when DCMTK passes the
// socket it opened to its transport layer (HandoverLayer), that socket is replaced with
// the one connected to the peer (see connection.hpp), keeping DCMTK's socket options.
// A Watchdog shuts the peer's socket down when the probe's deadline passes, which ends
// whatever DCMTK waits for on it: its own timeouts count per read, so a peer that
// trickles bytes would hold it for ever.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <utility>

#include "connection.hpp"
#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmnet/dcmlayer.h"

namespace telvor::dcmtk {

class SocketHandover {
 public:
  SocketHandover();
  SocketHandover(const SocketHandover&) = delete;
  SocketHandover& operator=(const SocketHandover&) = delete;

  // Whether the loopback listener is up.
  bool ready() const noexcept { return listener_.fd() >= 0; }
  // The presentation address DCMTK is to connect to: "127.0.0.1:PORT".
  const std::string& address() const noexcept { return address_; }

  // The socket connected to the peer; it stays owned by the caller and must stay open
  // while DCMTK may connect.
  void setPeer(int peer) noexcept { peer_ = peer; }

  // Puts the peer's connection in place of `dcmtkSocket`, which DCMTK connected to the
  // listener. False (and nothing changed) when that socket is not the expected one.
  bool replace(int dcmtkSocket) noexcept;

 private:
  int peer_ = -1;
  Socket listener_;
  std::string address_;
};

// A DCMTK transport layer (the plain one, or the TLS one) whose new connections go through
// a SocketHandover.
template <class Layer>
class HandoverLayer final : public Layer {
 public:
  template <class... Args>
  explicit HandoverLayer(SocketHandover& handover, Args&&... args)
      : Layer(std::forward<Args>(args)...), handover_(handover) {}

  DcmTransportConnection* createConnection(DcmNativeSocketType socket, OFBool secure) override {
    if (!handover_.replace(socket)) return nullptr;
    return Layer::createConnection(socket, secure);
  }

 private:
  SocketHandover& handover_;
};

// Shuts `fd` down for reading and writing at `deadline` unless destroyed first.
class Watchdog {
 public:
  Watchdog(int fd, Deadline deadline);
  ~Watchdog();
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;

  // Whether the deadline passed and the socket was shut down.
  bool fired() const noexcept { return fired_.load(); }

 private:
  std::mutex mutex_;
  std::condition_variable wake_;
  bool stopping_ = false;
  std::atomic<bool> fired_{false};
  std::thread thread_;
};

}  // namespace telvor::dcmtk
