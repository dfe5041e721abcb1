// Peers that listen on every address (Orthanc) started where they meet only the test: a
// command run in a private network namespace that holds just loopback, bounded in time.
//
//   if (const std::string why = privateNetworkMissing(); !why.empty()) GTEST_SKIP() << why;
//   ASSERT_EQ(runInPrivateNetwork("python3 'session.py' 'plan.json'", 300), 0);
#pragma once

#include <string>

#include "support/child_process.hpp"

namespace telvor::testing_support {

// Why no private network namespace can be made here (user namespaces or iproute2
// missing), or empty when one can.
inline std::string privateNetworkMissing() {
  if (shellStatus("unshare -rn sh -c 'ip link set lo up' >/dev/null 2>&1") == 0) return {};
  return "cannot make a private network namespace here (`unshare -rn` with `ip link set lo up` failed: user "
         "namespaces or iproute2 are not available), so Orthanc, which listens on every address, is not started";
}

// Runs `command` (shell words, without double quotes) with loopback up in a fresh network
// namespace; killed after `seconds`. Its exit status, 124 on timeout, -1 when it did not exit.
inline int runInPrivateNetwork(const std::string& command, int seconds) {
  return shellStatus("timeout -k 5 " + std::to_string(seconds) + " unshare -rn sh -c \"ip link set lo up; exec " +
                     command + "\"");
}

}  // namespace telvor::testing_support
