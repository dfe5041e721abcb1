// Saving under faults: each test asserts what is on disk afterwards.
#include "telvor/catalogue/atomic_save.hpp"
#include "support/scratch_files.hpp"

#include <gtest/gtest.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstring>
#include <fstream>
#include <functional>
#include <thread>

namespace telvor::catalogue {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

using testing_support::slurp;
using testing_support::spit;

mode_t modeOf(const fs::path& path) {
  struct stat status {};
  ::lstat(path.c_str(), &status);
  return status.st_mode & 07777;
}

// Everything in `dir` but `keep`: temporary files a save left behind.
std::vector<std::string> leftovers(const fs::path& dir, const std::vector<std::string>& keep) {
  std::vector<std::string> found;
  for (const auto& entry : fs::directory_iterator(dir)) {
    const auto name = entry.path().filename().string();
    if (std::find(keep.begin(), keep.end(), name) == keep.end()) found.push_back(name);
  }
  return found;
}

// A payload whose every prefix differs from every other: a cut shows.
std::string payload(std::size_t size) {
  std::string bytes(size, '\0');
  for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>('a' + (i / 4096) % 26);
  return bytes;
}

// Runs `body` in a child process that never returns into the test runner.
pid_t startChild(const std::function<int()>& body) {
  const pid_t child = ::fork();
  if (child != 0) return child;
  try {
    ::_exit(body());
  } catch (...) {
    ::_exit(99);
  }
}

// Runs `body` in a child process; its exit status (or 128 + signal) comes back.
int inChild(const std::function<int()>& body) {
  const pid_t child = startChild(body);
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

class AtomicSave : public testing::Test {
 protected:
  testing_support::ScratchDir scratch_;
  const fs::path& dir_ = scratch_.path();
};

struct Replacement {
  const char* name;
  std::function<void(const fs::path& dir)> before;  // prepares dir/target (and dir/real)
  bool followSymlinks;
  int error;             // SaveError's errorNumber(), 0 for success
  mode_t mode;           // of the file holding the bytes afterwards (dir/real where there is a link)
  bool linkStays;        // dir/target is still a symbolic link afterwards
};

TEST_F(AtomicSave, KeepsModesAndLinksAsAsked) {
  const auto file = [](mode_t mode, const char* name = "target") {
    return [=](const fs::path& dir) {
      spit(dir / name, "old");
      ::chmod((dir / name).c_str(), mode);
    };
  };
  const auto link = [&](bool absolute, bool withFile) {
    return [=](const fs::path& dir) {
      if (withFile) file(0640, "real")(dir);
      fs::create_symlink(absolute ? dir / "real" : fs::path("real"), dir / "target");
    };
  };
  const Replacement cases[] = {
      {"new file", [](const fs::path&) {}, false, 0, 0600, false},
      {"replaced 0644", file(0644), false, 0, 0644, false},
      {"replaced 0640", file(0640), false, 0, 0640, false},
      {"replaced 0755", file(0755), false, 0, 0755, false},
      {"link refused", link(false, true), false, ELOOP, 0640, true},
      {"link followed", link(false, true), true, 0, 0640, true},
      {"absolute link followed", link(true, true), true, 0, 0640, true},
      {"dangling link followed", link(false, false), true, 0, 0600, true},
      {"directory", [](const fs::path& dir) { fs::create_directory(dir / "target"); }, false, EISDIR, 0, false},
  };
  for (const auto& c : cases) {
    const fs::path dir = dir_ / c.name;
    fs::create_directory(dir);
    c.before(dir);
    const fs::path holder = fs::is_symlink(dir / "target") ? dir / "real" : dir / "target";
    int error = 0;
    try {
      saveAtomically(dir / "target", "new", {.followSymlinks = c.followSymlinks});
    } catch (const SaveError& e) {
      error = e.errorNumber();
      EXPECT_EQ(std::string(e.what()).rfind((dir / "target").string() + ": ", 0), 0u) << c.name << ": " << e.what();
      EXPECT_EQ(e.isSymbolicLink(), error == ELOOP) << c.name;
    }
    EXPECT_EQ(error, c.error) << c.name;
    EXPECT_EQ(fs::is_symlink(dir / "target"), c.linkStays) << c.name;
    if (c.mode != 0) {
      EXPECT_EQ(slurp(holder), c.error == 0 ? "new" : "old") << c.name;
      EXPECT_EQ(modeOf(holder), c.mode) << c.name << std::oct << " mode " << modeOf(holder);
    }
    EXPECT_TRUE(leftovers(dir, {"target", "real"}).empty()) << c.name;
  }
}

TEST_F(AtomicSave, KeepsOwnerAndGroupWherePermitted) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root may give a file another owner";
  const auto target = dir_ / "owned";
  spit(target, "old");
  ASSERT_EQ(::chown(target.c_str(), 4321, 8765), 0) << std::strerror(errno);
  saveAtomically(target, "new");
  struct stat status {};
  ::stat(target.c_str(), &status);
  EXPECT_EQ(status.st_uid, 4321u);
  EXPECT_EQ(status.st_gid, 8765u);
}

TEST_F(AtomicSave, AFileSizeLimitLeavesTheOldFileAndNoTemporary) {
  const auto target = dir_ / "nodes.plist";
  const std::string old = payload(10'000);
  spit(target, old);
  const int status = inChild([&] {
    const rlimit limit{64 * 1024, 64 * 1024};
    ::setrlimit(RLIMIT_FSIZE, &limit);
    ::signal(SIGXFSZ, SIG_IGN);  // as a program that wants the error does
    try {
      saveAtomically(target, payload(1 << 20));
      return 1;
    } catch (const SaveError& e) {
      return e.errorNumber() == EFBIG ? 0 : 2;
    }
  });
  EXPECT_EQ(status, 0) << "1: saved beyond the limit, 2: another error, 153: killed by SIGXFSZ";
  EXPECT_EQ(slurp(target), old);
  EXPECT_TRUE(leftovers(dir_, {"nodes.plist"}).empty());
}

// A full file system, where a private mount namespace may be had.
TEST_F(AtomicSave, AFullFileSystemLeavesTheOldFileAndNoTemporary) {
  int report[2];
  ASSERT_EQ(::pipe(report), 0);
  const auto mountPoint = dir_;
  const int status = inChild([&]() -> int {
    ::close(report[0]);
    const auto skip = [&](const char* step) {
      const std::string why = std::string(step) + ": " + std::strerror(errno);
      (void)!::write(report[1], why.data(), why.size());
      return 77;
    };
    const uid_t uid = ::geteuid();
    const gid_t gid = ::getegid();
    if (::unshare(uid == 0 ? CLONE_NEWNS : CLONE_NEWUSER | CLONE_NEWNS) != 0) return skip("unshare");
    if (uid != 0) {
      std::ofstream("/proc/self/setgroups") << "deny";
      std::ofstream("/proc/self/uid_map") << "0 " << uid << " 1";
      std::ofstream("/proc/self/gid_map") << "0 " << gid << " 1";
    }
    if (::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return skip("making / private");
    if (::mount("tmpfs", mountPoint.c_str(), "tmpfs", 0, "size=256k") != 0) return skip("mounting a tmpfs");
    const auto target = mountPoint / "nodes.plist";
    const std::string old = payload(100'000);
    try {
      saveAtomically(target, old);
      saveAtomically(target, payload(200'000));
      return 1;
    } catch (const SaveError& e) {
      if (e.errorNumber() != ENOSPC) return 2;
    }
    if (slurp(target) != old) return 3;
    return leftovers(mountPoint, {"nodes.plist"}).empty() ? 0 : 4;
  });
  ::close(report[1]);
  char why[256] = {};
  (void)!::read(report[0], why, sizeof why - 1);
  ::close(report[0]);
  if (status == 77) GTEST_SKIP() << "no private tmpfs here: " << why;
  EXPECT_EQ(status, 0) << "1: saved beyond the space, 2: another error, 3: old file changed, 4: temporary left";
}

TEST_F(AtomicSave, AKillAtAnyPointLeavesTheOldOrTheWholeNewFile) {
  const auto target = dir_ / "nodes.plist";
  const std::string old = payload(300'000);
  const std::string fresh = payload(16 << 20);
  const auto saveInChild = [&] {
    return startChild([&] {
      saveAtomically(target, fresh);
      return 0;
    });
  };
  // How long one whole save takes here; the kills are spread over it.
  spit(target, old);
  const auto start = std::chrono::steady_clock::now();
  int status = 0;
  ::waitpid(saveInChild(), &status, 0);
  const auto whole = std::chrono::steady_clock::now() - start;
  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
  ASSERT_EQ(slurp(target), fresh);

  constexpr int kPoints = 24;
  int oldSeen = 0, newSeen = 0;
  for (int point = 0; point < kPoints; ++point) {
    spit(target, old);
    const pid_t child = saveInChild();
    std::this_thread::sleep_for(whole * point / (kPoints - 4));  // the last few land after the save
    ::kill(child, SIGKILL);
    ::waitpid(child, &status, 0);
    const std::string now = slurp(target);
    ASSERT_TRUE(now == old || now == fresh) << "point " << point << ": " << now.size() << " bytes";
    (now == old ? oldSeen : newSeen)++;
    for (const auto& temp : leftovers(dir_, {"nodes.plist"})) fs::remove(dir_ / temp);  // SIGKILL cannot clean up
  }
  RecordProperty("oldSeen", oldSeen);
  RecordProperty("newSeen", newSeen);
}

// A program's handler, as the tool's: clean up, then the signal's default course.
extern "C" void cleanUpAndDie(int signal) {
  removeUnfinishedSave();
  ::signal(signal, SIG_DFL);
  ::raise(signal);
}

TEST_F(AtomicSave, AHandlerThatRemovesTheUnfinishedSaveLeavesTheOldFileAndNoTemporary) {
  const auto target = dir_ / "nodes.plist";
  const std::string old = payload(1000);
  const std::string fresh = payload(64 << 20);
  for (const int signal : {SIGINT, SIGTERM}) {
    bool caught = false;
    for (int attempt = 0; attempt < 5 && !caught; ++attempt) {
      spit(target, old);
      const pid_t child = startChild([&] {
        ::signal(signal, cleanUpAndDie);
        saveAtomically(target, fresh);
        return 0;
      });
      // Signal as soon as the temporary file shows; a save that wins the race is tried again.
      const auto deadline = std::chrono::steady_clock::now() + 10s;
      while (leftovers(dir_, {"nodes.plist"}).empty() && std::chrono::steady_clock::now() < deadline &&
             ::waitpid(child, nullptr, WNOHANG) == 0)
        std::this_thread::sleep_for(100us);
      ::kill(child, signal);
      int status = 0;
      ::waitpid(child, &status, 0);
      if (WIFEXITED(status) && WEXITSTATUS(status) == 0) continue;
      caught = true;
      EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == signal) << strsignal(signal) << ": status " << status;
      EXPECT_EQ(slurp(target), old) << strsignal(signal);
      EXPECT_TRUE(leftovers(dir_, {"nodes.plist"}).empty()) << strsignal(signal);
    }
    EXPECT_TRUE(caught) << strsignal(signal) << ": every save finished before the signal";
  }
}

}  // namespace
}  // namespace telvor::catalogue
