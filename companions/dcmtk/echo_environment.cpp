#include "echo_environment.hpp"

#include <array>
#include <mutex>
#include <set>

#include "dcmtk/config/osconfig.h"
#include "dcmtk/dcmnet/dcmtrans.h"
#include "dcmtk/dcmnet/dul.h"
#include "dcmtk/dcmtls/tlslayer.h"
#include "dcmtk/oflog/oflog.h"

namespace telvor::dcmtk {
namespace {

// The loggers DCMTK's networking writes to (warnings and errors reach standard error by
// default). A child set to a level of its own would not follow its parent, so each is set.
constexpr std::array<const char*, 4> kLoggers{"dcmtk.dcmnet", "dcmtk.dcmnet.responses", "dcmtk.dcmtls",
                                              "dcmtk.dcmdata"};

using LogLevel = ::dcmtk::log4cplus::LogLevel;

struct Saved {
  Sint32 connectionTimeout = -1;
  Sint32 socketSendTimeout = 60;
  Sint32 socketReceiveTimeout = 60;
  std::array<LogLevel, kLoggers.size()> logLevels{};
};

struct Shared {
  std::mutex mutex;
  std::multiset<int> timeouts;  // one entry per running echo
  Saved saved;
};

Shared& shared() {
  static Shared instance;
  return instance;
}

void applyTimeout(int seconds) {
  dcmConnectionTimeout.set(seconds);
  dcmSocketSendTimeout.set(seconds);
  dcmSocketReceiveTimeout.set(seconds);
}

}  // namespace

EchoEnvironment::EchoEnvironment(int timeoutSeconds) : timeoutSeconds_(timeoutSeconds) {
  Shared& s = shared();
  const std::lock_guard lock(s.mutex);
  if (s.timeouts.empty()) {
    s.saved.connectionTimeout = dcmConnectionTimeout.get();
    s.saved.socketSendTimeout = dcmSocketSendTimeout.get();
    s.saved.socketReceiveTimeout = dcmSocketReceiveTimeout.get();
    for (std::size_t i = 0; i < kLoggers.size(); ++i) {
      OFLogger logger = OFLog::getLogger(kLoggers[i]);
      s.saved.logLevels[i] = logger.getLogLevel();
      logger.setLogLevel(OFLogger::OFF_LOG_LEVEL);
    }
  }
  s.timeouts.insert(timeoutSeconds_);
  applyTimeout(*s.timeouts.rbegin());
}

EchoEnvironment::~EchoEnvironment() {
  Shared& s = shared();
  const std::lock_guard lock(s.mutex);
  s.timeouts.erase(s.timeouts.find(timeoutSeconds_));
  if (!s.timeouts.empty()) {
    applyTimeout(*s.timeouts.rbegin());
    return;
  }
  dcmConnectionTimeout.set(s.saved.connectionTimeout);
  dcmSocketSendTimeout.set(s.saved.socketSendTimeout);
  dcmSocketReceiveTimeout.set(s.saved.socketReceiveTimeout);
  for (std::size_t i = 0; i < kLoggers.size(); ++i) OFLog::getLogger(kLoggers[i]).setLogLevel(s.saved.logLevels[i]);
}

void initialiseTls() {
  static std::once_flag once;
  std::call_once(once, [] { DcmTLSTransportLayer::initializeOpenSSL(); });
}

}  // namespace telvor::dcmtk
