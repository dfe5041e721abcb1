#include "interrupted_save.hpp"

#include <signal.h>

#include <array>
#include <cstddef>

#include "telvor/catalogue/atomic_save.hpp"

namespace telvor::tool {
namespace {

constexpr std::array<int, 3> kSignals{SIGINT, SIGTERM, SIGHUP};
std::array<struct sigaction, kSignals.size()> gPrevious{};

extern "C" void cleanUpAndResend(int signal) {
  catalogue::removeUnfinishedSave();
  // Back to what was there before, then the signal again: it is delivered as soon as this
  // handler returns and unblocks it.
  for (std::size_t i = 0; i < kSignals.size(); ++i)
    if (kSignals[i] == signal) ::sigaction(signal, &gPrevious[i], nullptr);
  ::raise(signal);
}

}  // namespace

void installInterruptedSaveCleanup() {
  struct sigaction action {};
  action.sa_handler = cleanUpAndResend;
  sigemptyset(&action.sa_mask);
  for (const int signal : kSignals) sigaddset(&action.sa_mask, signal);
  for (std::size_t i = 0; i < kSignals.size(); ++i) {
    ::sigaction(kSignals[i], nullptr, &gPrevious[i]);
    if (gPrevious[i].sa_handler != SIG_IGN) ::sigaction(kSignals[i], &action, nullptr);
  }
  struct sigaction ignore {};
  ignore.sa_handler = SIG_IGN;
  sigemptyset(&ignore.sa_mask);
  ::sigaction(SIGXFSZ, &ignore, nullptr);
}

}  // namespace telvor::tool
