// Peers on this computer for the probe's tests: DCMTK's own storescp and dcmqrscp started
// as child processes, TCP listeners that never answer, and an in-process SCP that answers
// C-ECHO the way a test asks. Everything listens on a free port and is stopped by its
// destructor; tests connect to 127.0.0.1 only.
#pragma once

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmnet/scp.h"
#include "support/child_process.hpp"
#include "support/free_port.hpp"
#include "support/scratch_files.hpp"

extern char** environ;

namespace telvor::dcmtk::test_peers {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

using testing_support::findProgram;

using TempDir = testing_support::ScratchDir;

using testing_support::ChildProcess;
using testing_support::runProgram;

// A TCP socket bound to a free port on the loopback address of `family` (AF_INET or
// AF_INET6), listening when `backlog` is given; -1 and port 0 when that fails.
struct BoundSocket {
  int fd = -1;
  std::uint16_t port = 0;
};
inline BoundSocket bindLoopback(int family = AF_INET, std::optional<int> backlog = std::nullopt) {
  BoundSocket bound{::socket(family, SOCK_STREAM, 0), 0};
  sockaddr_storage address{};
  address.ss_family = static_cast<sa_family_t>(family);
  if (family == AF_INET6) reinterpret_cast<sockaddr_in6&>(address).sin6_addr = in6addr_loopback;
  else reinterpret_cast<sockaddr_in&>(address).sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
  auto* raw = reinterpret_cast<sockaddr*>(&address);
  if (::bind(bound.fd, raw, length) == 0 && (!backlog || ::listen(bound.fd, *backlog) == 0) &&
      ::getsockname(bound.fd, raw, &length) == 0)
    bound.port = ntohs(family == AF_INET6 ? reinterpret_cast<sockaddr_in6&>(address).sin6_port
                                          : reinterpret_cast<sockaddr_in&>(address).sin_port);
  return bound;
}

using testing_support::freePort;

// A socket connected (or connecting, with SOCK_NONBLOCK in `flags`) to 127.0.0.1:`port`.
inline int connectLoopback(std::uint16_t port, int flags = 0) {
  const int fd = ::socket(AF_INET, SOCK_STREAM | flags, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(port);
  if (::connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 && !(flags & SOCK_NONBLOCK)) {
    ::close(fd);
    return -1;
  }
  return fd;
}

using testing_support::isListening;
using testing_support::waitUntilListening;

// A DCMTK server program listening on a free port; a few ports are tried in case another
// process takes one between choosing and binding it.
class ServerProcess {
 public:
  // `argv` without the port, which is appended.
  ServerProcess(std::vector<std::string> argv, const fs::path& log) {
    for (int attempt = 0; attempt < 3 && !ready_; ++attempt) {
      port_ = freePort();
      auto args = argv;
      args.push_back(std::to_string(port_));
      process_.emplace(args, log);
      ready_ = process_->started() && waitUntilListening(port_, *process_);
      if (!ready_) process_.reset();
    }
  }
  bool ready() const { return ready_; }
  std::uint16_t port() const { return port_; }

 private:
  std::optional<ChildProcess> process_;
  std::uint16_t port_ = 0;
  bool ready_ = false;
};

// dcmqrscp knowing one AE title of its own; it rejects associations that call any other.
inline ServerProcess startDcmqrscp(const TempDir& dir, const std::string& aeTitle) {
  fs::create_directories(dir / "db");
  std::ofstream(dir / "dcmqrscp.cfg") << "MaxPDUSize = 16384\nMaxAssociations = 4\n"
                                      << "HostTable BEGIN\nHostTable END\nVendorTable BEGIN\nVendorTable END\n"
                                      << "AETable BEGIN\n" << aeTitle << " " << (dir / "db").string()
                                      << " R (10, 1024mb) ANY\nAETable END\n";
  return ServerProcess({findProgram("dcmqrscp"), "--single-process", "-c", (dir / "dcmqrscp.cfg").string()},
                       dir / "dcmqrscp.log");
}

// The instance a retrieve check finds: a Secondary Capture with a 2x2 8-bit image, made
// with dump2dcm into `dir`/instance.dcm; empty when dump2dcm is missing or fails.
inline constexpr const char* kTestInstanceUid = "1.2.826.0.1.3680043.2.1143.4242.1.1.1";
inline fs::path makeTestInstance(const TempDir& dir) {
  std::ofstream(dir / "instance.dump")
      << "(0008,0016) UI =SecondaryCaptureImageStorage\n(0008,0018) UI [" << kTestInstanceUid
      << "]\n(0008,0020) DA [20260101]\n(0008,0060) CS [OT]\n(0008,0064) CS [WSD]\n"
         "(0010,0010) PN [Probe^Test]\n(0010,0020) LO [PROBE1]\n"
         "(0020,000d) UI [1.2.826.0.1.3680043.2.1143.4242.1]\n(0020,000e) UI [1.2.826.0.1.3680043.2.1143.4242.1.1]\n"
         "(0020,0010) SH [1]\n(0020,0011) IS [1]\n(0020,0013) IS [1]\n(0028,0002) US 1\n"
         "(0028,0004) CS [MONOCHROME2]\n(0028,0010) US 2\n(0028,0011) US 2\n(0028,0100) US 8\n"
         "(0028,0101) US 8\n(0028,0102) US 7\n(0028,0103) US 0\n(7fe0,0010) OB 00\\7f\\80\\ff\n";
  const fs::path made = dir / "instance.dcm";
  if (findProgram("dump2dcm").empty() ||
      !runProgram({findProgram("dump2dcm"), "-g", "+te", (dir / "instance.dump").string(), made.string()},
                  dir / "dump2dcm.log"))
    return {};
  return made;
}

// dcmqrscp as an archive: AE title ARCHIVE holding `instance` (stored with storescu),
// EMPTY holding nothing, and a HostTable that knows `knownAeTitle` at 127.0.0.1:`listenPort`.
// It forks per association (its single-process mode ends after the first here).
inline std::unique_ptr<ServerProcess> startArchive(const TempDir& dir, const std::string& knownAeTitle,
                                                 std::uint16_t listenPort, const fs::path& instance) {
  fs::create_directories(dir / "archive");
  fs::create_directories(dir / "empty");
  std::ofstream(dir / "archive.cfg") << "MaxPDUSize = 16384\nMaxAssociations = 8\nHostTable BEGIN\nviewer = ("
                                     << knownAeTitle << ", 127.0.0.1, " << listenPort
                                     << ")\nHostTable END\nVendorTable BEGIN\nVendorTable END\nAETable BEGIN\n"
                                     << "ARCHIVE " << (dir / "archive").string() << " RW (10, 1024mb) ANY\n"
                                     << "EMPTY " << (dir / "empty").string() << " R (10, 1024mb) ANY\nAETable END\n";
  auto archive = std::make_unique<ServerProcess>(
      std::vector<std::string>{findProgram("dcmqrscp"), "-c", (dir / "archive.cfg").string()}, dir / "archive.log");
  if (!archive->ready() ||
      !runProgram({findProgram("storescu"), "-aec", "ARCHIVE", "127.0.0.1", std::to_string(archive->port()),
                   instance.string()},
                  dir / "storescu.log"))
    return nullptr;
  return archive;
}

// A self-signed certificate and its key, made with openssl.
struct Certificate {
  fs::path certificate;
  fs::path key;
};

inline std::optional<Certificate> makeCertificate(const TempDir& dir, const std::string& name) {
  Certificate made{dir / (name + ".pem"), dir / (name + ".key")};
  const bool ok = runProgram({findProgram("openssl"), "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout",
                              made.key.string(), "-out", made.certificate.string(), "-days", "1", "-subj",
                              "/CN=" + name},
                             dir / (name + ".log"));
  if (!ok) return std::nullopt;
  return made;
}

// A socket that listens on 127.0.0.1 and never says a word: the kernel completes the
// connection, nobody reads the association request.
class SilentListener {
 public:
  explicit SilentListener(int backlog = 8) : bound_(bindLoopback(AF_INET, backlog)) {}
  ~SilentListener() {
    for (const int fd : fillers_) ::close(fd);
    ::close(bound_.fd);
  }
  SilentListener(const SilentListener&) = delete;
  SilentListener& operator=(const SilentListener&) = delete;

  std::uint16_t port() const { return bound_.port; }

  // Whether a connection came in (and waits in the accept queue).
  bool contacted() const {
    pollfd waiting{bound_.fd, POLLIN, 0};
    return ::poll(&waiting, 1, 0) == 1;
  }

  // Fills the accept queue with connections of its own so that the kernel drops further
  // connection attempts: connecting then times out. True when a further attempt indeed
  // goes unanswered for 300 ms.
  bool fillBacklog() {
    for (int i = 0; i < 8; ++i) fillers_.push_back(connectLoopback(bound_.port, SOCK_NONBLOCK));
    std::this_thread::sleep_for(100ms);
    const int probe = connectLoopback(bound_.port, SOCK_NONBLOCK);
    fillers_.push_back(probe);
    fd_set writable;
    FD_ZERO(&writable);
    FD_SET(probe, &writable);
    timeval wait{0, 300000};
    return ::select(probe + 1, nullptr, &writable, nullptr, &wait) == 0;
  }

 private:
  BoundSocket bound_;
  std::vector<int> fillers_;
};

// An SCP in this process that answers C-ECHO as told: with a given status, or not at all
// (it waits until the requester gives up). Offers only the SOP classes it is given.
class ScriptedScp : public DcmSCP {
 public:
  struct Script {
    std::vector<std::string> sopClasses{UID_VerificationSOPClass};
    std::uint16_t echoStatus = 0;  // Success
    bool answerEcho = true;
  };

  explicit ScriptedScp(Script script) : script_(std::move(script)) {
    OFList<OFString> syntaxes;
    syntaxes.push_back(UID_LittleEndianExplicitTransferSyntax);
    syntaxes.push_back(UID_LittleEndianImplicitTransferSyntax);
    for (const auto& sop : script_.sopClasses) addPresentationContext(sop.c_str(), syntaxes);
    setAETitle("SCRIPTED");
    setConnectionBlockingMode(DUL_NOBLOCK);
    setConnectionTimeout(1);
    setACSETimeout(2);
    for (int attempt = 0; attempt < 3 && !ready_; ++attempt) {
      port_ = freePort();
      setPort(port_);
      ready_ = openListenPort().good();
    }
    if (ready_) thread_ = std::thread([this] { acceptAssociations(); });
  }
  ~ScriptedScp() override {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
  }

  bool ready() const { return ready_; }
  std::uint16_t port() const { return port_; }

 protected:
  OFCondition handleECHORequest(T_DIMSE_C_EchoRQ& request, const T_ASC_PresentationContextID presentation) override {
    if (!script_.answerEcho) {
      while (!stop_ && isConnected()) std::this_thread::sleep_for(20ms);
      return EC_Normal;
    }
    T_DIMSE_Message response{};
    response.CommandField = DIMSE_C_ECHO_RSP;
    T_DIMSE_C_EchoRSP& echo = response.msg.CEchoRSP;
    echo.MessageIDBeingRespondedTo = request.MessageID;
    OFStandard::strlcpy(echo.AffectedSOPClassUID, request.AffectedSOPClassUID, sizeof echo.AffectedSOPClassUID);
    echo.DataSetType = DIMSE_DATASET_NULL;
    echo.DimseStatus = script_.echoStatus;
    echo.opts = O_ECHO_AFFECTEDSOPCLASSUID;
    return sendDIMSEMessage(presentation, &response, nullptr);
  }
  void notifyAbortRequest() override {}  // the requester gave up; nothing to tell
  OFBool stopAfterConnectionTimeout() override { return stop_.load(); }
  OFBool stopAfterCurrentAssociation() override { return stop_.load(); }

 private:
  Script script_;
  std::atomic<bool> stop_{false};
  std::uint16_t port_ = 0;
  bool ready_ = false;
  std::thread thread_;
};

// An SCP that accepts every association but none of the services proposed in it (DCMTK's
// own SCPs reject such associations instead).
class AcceptNothingScp {
 public:
  AcceptNothingScp() {
    for (int attempt = 0; attempt < 3 && network_ == nullptr; ++attempt) {
      port_ = freePort();
      if (ASC_initializeNetwork(NET_ACCEPTOR, port_, 2, &network_).bad()) network_ = nullptr;
    }
    if (network_ != nullptr) thread_ = std::thread([this] { serve(); });
  }
  ~AcceptNothingScp() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
    if (network_ != nullptr) ASC_dropNetwork(&network_);
  }
  AcceptNothingScp(const AcceptNothingScp&) = delete;
  AcceptNothingScp& operator=(const AcceptNothingScp&) = delete;

  bool ready() const { return network_ != nullptr; }
  std::uint16_t port() const { return port_; }

 private:
  void serve() {
    while (!stop_) {
      T_ASC_Association* association = nullptr;
      const OFCondition c = ASC_receiveAssociation(network_, &association, ASC_DEFAULTMAXPDU, nullptr, nullptr,
                                                   OFFalse, DUL_NOBLOCK, 1);
      if (c.good()) {
        T_ASC_PresentationContext context;
        for (int i = 0; i < ASC_countPresentationContexts(association->params); ++i)
          if (ASC_getPresentationContext(association->params, i, &context).good())
            ASC_refusePresentationContext(association->params, context.presentationContextID,
                                          ASC_P_ABSTRACTSYNTAXNOTSUPPORTED);
        if (ASC_acknowledgeAssociation(association).good()) ASC_dataWaiting(association, 2);  // the requester's abort
        ASC_dropSCPAssociation(association, 1);
      }
      if (association != nullptr) ASC_destroyAssociation(&association);
    }
  }

  T_ASC_Network* network_ = nullptr;
  std::uint16_t port_ = 0;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

// Accepts connections on the loopback address of `family` one at a time, on a thread of
// its own, and hands each to `handle`, which may watch `stop`; closes each afterwards.
class AcceptLoop {
 public:
  using Handler = std::function<void(int connection, const std::atomic<bool>& stop)>;
  AcceptLoop(int family, Handler handle) : bound_(bindLoopback(family, 4)), handle_(std::move(handle)) {
    if (bound_.port != 0) thread_ = std::thread([this] { serve(); });
  }
  ~AcceptLoop() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
    ::close(bound_.fd);
  }
  AcceptLoop(const AcceptLoop&) = delete;
  AcceptLoop& operator=(const AcceptLoop&) = delete;

  bool ready() const { return bound_.port != 0; }
  std::uint16_t port() const { return bound_.port; }

 private:
  void serve() {
    while (!stop_) {
      pollfd waiting{bound_.fd, POLLIN, 0};
      if (::poll(&waiting, 1, 50) != 1) continue;
      const int connection = ::accept(bound_.fd, nullptr, nullptr);
      if (connection < 0) continue;
      handle_(connection, stop_);
      ::close(connection);
    }
  }

  BoundSocket bound_;
  Handler handle_;
  std::atomic<bool> stop_{false};
  std::thread thread_;
};

// A listener on 127.0.0.1 that sends each connection `header` at once and then the body
// it announces one byte every 1.5 s: each read gets something, so timeouts counted per
// read never pass. Sends at most 40 bytes of body per connection.
class TricklingPeer {
 public:
  explicit TricklingPeer(std::vector<unsigned char> header)
      : header_(std::move(header)), loop_(AF_INET, [this](int c, const std::atomic<bool>& stop) { trickle(c, stop); }) {}

  bool ready() const { return loop_.ready(); }
  std::uint16_t port() const { return loop_.port(); }
  // Bytes of body sent so far.
  int bodyBytesSent() const { return sent_.load(); }

 private:
  void trickle(int connection, const std::atomic<bool>& stop) {
    if (::send(connection, header_.data(), header_.size(), MSG_NOSIGNAL) != static_cast<ssize_t>(header_.size()))
      return;
    for (int i = 0; i < 40 && !stop; ++i) {
      const unsigned char byte = 0;
      if (::send(connection, &byte, 1, MSG_NOSIGNAL) != 1) return;
      ++sent_;
      const auto next = std::chrono::steady_clock::now() + 1500ms;
      while (!stop && std::chrono::steady_clock::now() < next) std::this_thread::sleep_for(20ms);
    }
  }

  std::vector<unsigned char> header_;
  std::atomic<int> sent_{0};
  AcceptLoop loop_;  // last: its thread stops before the members it uses go
};

// Carries connections made to [::1]:port() to 127.0.0.1:`target`, one at a time, so that
// a peer that listens on IPv4 only can be reached at an IPv6 address. Not ready when this
// computer has no IPv6 loopback.
class Ipv6Relay {
 public:
  explicit Ipv6Relay(std::uint16_t target)
      : loop_(AF_INET6, [target](int inbound, const std::atomic<bool>& stop) {
          const int outbound = connectLoopback(target);
          if (outbound < 0) return;
          pump(inbound, outbound, stop);
          ::close(outbound);
        }) {}

  bool ready() const { return loop_.ready(); }
  std::uint16_t port() const { return loop_.port(); }

 private:
  // Copies both ways until one side closes (or 30 s pass, or the relay stops).
  static void pump(int a, int b, const std::atomic<bool>& stop) {
    const auto end = std::chrono::steady_clock::now() + 30s;
    std::array<pollfd, 2> sides{{{a, POLLIN, 0}, {b, POLLIN, 0}}};
    char buffer[16384];
    while (!stop && std::chrono::steady_clock::now() < end) {
      if (::poll(sides.data(), sides.size(), 50) <= 0) continue;
      for (std::size_t i = 0; i < 2; ++i) {
        if (sides[i].revents == 0) continue;
        const ssize_t n = ::recv(sides[i].fd, buffer, sizeof buffer, 0);
        if (n <= 0 || ::send(sides[1 - i].fd, buffer, static_cast<std::size_t>(n), MSG_NOSIGNAL) != n) return;
      }
    }
  }

  AcceptLoop loop_;
};

}  // namespace telvor::dcmtk::test_peers
