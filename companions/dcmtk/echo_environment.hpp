// DCMTK's process-wide settings while echoes run (internal).
//
// DCMTK reads its connection and socket timeouts from global variables and logs through
// global loggers. An EchoEnvironment held for the length of an echo makes those suit the
// echo: the timeouts become the largest one among the echoes running, and the network,
// TLS and data loggers are off. When the last environment goes, the settings found when
// the first one came are put back.
#pragma once

namespace telvor::dcmtk {

class EchoEnvironment {
 public:
  explicit EchoEnvironment(int timeoutSeconds);
  ~EchoEnvironment();
  EchoEnvironment(const EchoEnvironment&) = delete;
  EchoEnvironment& operator=(const EchoEnvironment&) = delete;

 private:
  int timeoutSeconds_;
};

// Initialises OpenSSL through DCMTK once per process; safe from any thread.
void initialiseTls();

}  // namespace telvor::dcmtk
