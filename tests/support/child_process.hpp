// Programs a test starts on this computer (servers, tools): found on PATH, run with their
// output in a log file, waited for with bounds, and stopped by their PID.
//
//   ChildProcess server({findProgram("slapd"), "-d", "0", ...}, dir / "slapd.log");
//   if (!waitUntilListening(port, server)) GTEST_SKIP() << "slapd did not start";
//   // ~ChildProcess: SIGTERM, then SIGKILL, and the child is reaped
#pragma once

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace telvor::testing_support {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// The full path of `name` on PATH or in the sbin folders (servers such as slapd, nginx and
// Orthanc live there, which is not on a user's PATH everywhere); empty when not installed.
inline std::string findProgram(const std::string& name) {
  const char* path = std::getenv("PATH");
  std::stringstream dirs(std::string(path ? path : "/usr/bin:/bin") + ":/usr/sbin:/usr/local/sbin:/sbin");
  for (std::string dir; std::getline(dirs, dir, ':');) {
    const fs::path candidate = fs::path(dir) / name;
    if (::access(candidate.c_str(), X_OK) == 0) return candidate;
  }
  return {};
}

// The exit status of `sh -c command`, or -1 when it did not exit normally.
inline int shellStatus(const std::string& command) {
  const int raw = std::system(command.c_str());
  return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
}

// A child process with its output in a log file; terminated (then killed) and reaped by
// the destructor.
class ChildProcess {
 public:
  ChildProcess(const std::vector<std::string>& argv, const fs::path& log) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, log.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    posix_spawn_file_actions_adddup2(&actions, 1, 2);
    std::vector<char*> args;
    for (const auto& arg : argv) args.push_back(const_cast<char*>(arg.c_str()));
    args.push_back(nullptr);
    if (posix_spawn(&pid_, argv[0].c_str(), &actions, nullptr, args.data(), environ) != 0) pid_ = -1;
    posix_spawn_file_actions_destroy(&actions);
  }
  ~ChildProcess() {
    if (pid_ <= 0 || exited_) return;
    ::kill(pid_, SIGTERM);
    if (waitFor(2s)) return;
    ::kill(pid_, SIGKILL);
    waitFor(5s);
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  bool started() const { return pid_ > 0; }
  bool running() {
    if (pid_ <= 0 || exited_) return false;
    return !reap(WNOHANG);
  }
  // Waits up to `limit` for the process to end; its exit status, or absent.
  std::optional<int> exitStatus(std::chrono::milliseconds limit) {
    if (pid_ <= 0) return std::nullopt;
    if (!exited_ && !waitFor(limit)) return std::nullopt;
    return status_;
  }

 private:
  bool reap(int flags) {
    int status = 0;
    const pid_t r = ::waitpid(pid_, &status, flags);
    if (r == pid_ || r < 0) {
      exited_ = true;
      status_ = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    return exited_;
  }
  bool waitFor(std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!reap(WNOHANG)) {
      if (std::chrono::steady_clock::now() > end) return false;
      std::this_thread::sleep_for(10ms);
    }
    return true;
  }

  pid_t pid_ = -1;
  bool exited_ = false;
  int status_ = -1;
};

// Runs a program to its end (at most `limit`); true when it exits with 0.
inline bool runProgram(const std::vector<std::string>& argv, const fs::path& log, std::chrono::milliseconds limit = 60s) {
  ChildProcess child(argv, log);
  return child.started() && child.exitStatus(limit) == 0;
}

// Whether something listens on `port` (IPv4 or IPv6), read from the kernel's socket table
// so that no connection is made to the listener.
inline bool isListening(std::uint16_t port) {
  char suffix[8];
  std::snprintf(suffix, sizeof suffix, ":%04X", port);
  for (const char* table : {"/proc/net/tcp", "/proc/net/tcp6"}) {
    std::ifstream in(table);
    std::string line;
    std::getline(in, line);  // header
    while (std::getline(in, line)) {
      std::istringstream fields(line);
      std::string slot, local, remote, state;
      fields >> slot >> local >> remote >> state;
      if (state == "0A" && local.size() > 5 && local.ends_with(suffix)) return true;
    }
  }
  return false;
}

// Waits (bounded) until `port` listens or `process` has ended.
inline bool waitUntilListening(std::uint16_t port, ChildProcess& process, std::chrono::milliseconds limit = 10s) {
  const auto end = std::chrono::steady_clock::now() + limit;
  while (std::chrono::steady_clock::now() < end) {
    if (isListening(port)) return true;
    if (!process.running()) return false;
    std::this_thread::sleep_for(20ms);
  }
  return false;
}

}  // namespace telvor::testing_support
