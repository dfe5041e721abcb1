// The storage listener of a C-MOVE retrieve check (internal): it accepts, on a port of
// this computer, the one instance a check asked the peer to send, holds it in memory only
// long enough to acknowledge it, and discards it.
//
// It accepts associations only from the addresses it is given, storage only of the SOP
// instance it waits for and only up to a size; anything else is refused and reported. It
// runs on a thread of its own from construction until stop() or destruction, and never
// past its deadline.
#pragma once

#include <atomic>
#include <memory>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "connection.hpp"

namespace telvor::dcmtk {

class StorageListener {
 public:
  // Listens on `port` on every address (a peer sends to the address it knows).
  // `allowed` holds numeric addresses ("127.0.0.1", "::1").
  StorageListener(std::uint16_t port, std::set<std::string> allowed, std::string instanceUid,
                  std::uint64_t maxBytes, Deadline deadline);
  ~StorageListener();
  StorageListener(const StorageListener&) = delete;
  StorageListener& operator=(const StorageListener&) = delete;

  // Empty when listening; otherwise why the port cannot be used.
  const std::string& failure() const noexcept { return failure_; }
  // Stops listening and waits for the thread; what was received stays readable.
  void stop();
  // Whether the instance arrived, whole and acknowledged.
  bool received() const noexcept { return received_.load(); }
  // What was refused, in order ("an association from 10.0.0.9", "instance 1.2.3 ...").
  std::vector<std::string> refusals() const;

 private:
  void run();
  void refuse(std::string what);

  struct Net;
  std::unique_ptr<Net> net_;
  std::uint16_t port_;
  std::set<std::string> allowed_;
  std::string instanceUid_;
  std::uint64_t maxBytes_;
  Deadline deadline_;
  std::string failure_;
  std::atomic<bool> stopping_{false};
  std::atomic<bool> received_{false};
  mutable std::mutex mutex_;
  std::vector<std::string> refusals_;
  std::thread thread_;
};

// Every numeric address `names` resolve to (each a numeric address or a host name), and
// the numeric peer address of the connected socket `fd`.
std::set<std::string> trustedAddresses(int fd, const std::vector<std::string>& names);

}  // namespace telvor::dcmtk
