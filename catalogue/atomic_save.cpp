#include "telvor/catalogue/atomic_save.hpp"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <system_error>

#include "descriptor.hpp"

namespace telvor::catalogue {
namespace fs = std::filesystem;
namespace {

std::string reasonOf(int error) { return std::system_category().message(error); }

[[noreturn]] void fail(const fs::path& target, int error) { throw SaveError(target, error, reasonOf(error)); }

// What removeUnfinishedSave needs. Written only while the cleanup signals are blocked in
// this thread; the flag is set from just before the file exists until it has been renamed
// or removed.
volatile sig_atomic_t gTempActive = 0;
int gDirectory = -1;
char gTempName[NAME_MAX + 1];

constexpr std::array<int, 3> kCleanupSignals{SIGINT, SIGTERM, SIGHUP};

// Keeps a program's cleanup handler from running while the state it reads changes.
class BlockedSignals {
 public:
  BlockedSignals() {
    sigset_t set;
    sigemptyset(&set);
    for (const int signal : kCleanupSignals) sigaddset(&set, signal);
    ::pthread_sigmask(SIG_BLOCK, &set, &previous_);
  }
  ~BlockedSignals() { ::pthread_sigmask(SIG_SETMASK, &previous_, nullptr); }
  BlockedSignals(const BlockedSignals&) = delete;
  BlockedSignals& operator=(const BlockedSignals&) = delete;

 private:
  sigset_t previous_;
};

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  ~Descriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  int get() const { return fd_; }
  // Closes now, reporting the error close(2) gives (a delayed write error on some systems).
  int close() {
    const int result = ::close(fd_);
    fd_ = -1;
    return result == 0 ? 0 : errno;
  }

 private:
  int fd_;
};

// The file a save replaces: the target itself, or with `follow` the end of its chain of
// symbolic links. A path that does not exist yet is its own answer.
fs::path resolveTarget(const fs::path& target, bool follow) {
  fs::path current = target;
  for (int hops = 0; hops <= 40; ++hops) {
    struct stat status {};
    if (::lstat(current.c_str(), &status) != 0) {
      if (errno == ENOENT) return current;
      fail(target, errno);
    }
    if (!S_ISLNK(status.st_mode)) return current;
    if (!follow) throw SaveError::symbolicLink(target);
    std::error_code error;
    const fs::path next = fs::read_symlink(current, error);
    if (error) fail(target, error.value());
    current = next.is_absolute() ? next : current.parent_path() / next;
  }
  fail(target, ELOOP);
}

void writeAll(int fd, std::string_view bytes, const fs::path& target) {
  while (!bytes.empty()) {
    const ssize_t written = ::write(fd, bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) fail(target, written < 0 ? errno : EIO);
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

// The replaced file's owner and group (where this process may give them) and mode.
void keepOwnerAndMode(int fd, const struct stat& old, const fs::path& target) {
  if (old.st_uid != ::geteuid() || old.st_gid != ::getegid())
    if (::fchown(fd, old.st_uid, old.st_gid) != 0) (void)::fchown(fd, static_cast<uid_t>(-1), old.st_gid);
  // After fchown, which may clear set-user-ID and set-group-ID bits.
  if (::fchmod(fd, old.st_mode & 07777) != 0) fail(target, errno);
}

std::string temporaryName(const std::string& name) {
  static unsigned counter = 0;
  const auto now = static_cast<unsigned long long>(std::chrono::steady_clock::now().time_since_epoch().count());
  char suffix[64];
  std::snprintf(suffix, sizeof suffix, ".tmp-%x-%llx-%x", static_cast<unsigned>(::getpid()), now & 0xFFFFFFFFull,
                ++counter);
  // Long names are shortened so that the temporary name stays within NAME_MAX.
  return "." + name.substr(0, 200) + suffix;
}

}  // namespace

SaveError::SaveError(fs::path path, int errorNumber, const std::string& reason)
    : std::runtime_error(path.string() + ": " + reason), path_(std::move(path)), errorNumber_(errorNumber) {}

SaveError SaveError::symbolicLink(fs::path path) {
  SaveError error(std::move(path), ELOOP, "is a symbolic link; refusing to replace it");
  error.symbolicLink_ = true;
  return error;
}

void saveAtomically(const fs::path& target, std::string_view bytes, const SaveOptions& options) {
  static std::mutex saving;
  const std::lock_guard lock(saving);

  const fs::path file = resolveTarget(target, options.followSymlinks);
  struct stat old {};
  const bool replacing = ::stat(file.c_str(), &old) == 0;
  if (replacing && S_ISDIR(old.st_mode)) fail(target, EISDIR);
  if (replacing && !S_ISREG(old.st_mode))
    throw SaveError(target, EINVAL, "is not a regular file; refusing to replace it");
  const std::string name = file.filename().string();
  if (name.empty() || name == "." || name == "..") fail(target, EISDIR);
  const fs::path directory = file.has_parent_path() ? file.parent_path() : fs::path(".");
  Descriptor dir(detail::aboveStandardStreams(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)));
  if (dir.get() < 0) fail(target, errno);

  int created = -1;
  {
    const BlockedSignals blocked;
    for (int attempt = 0; created < 0; ++attempt) {
      const std::string temp = temporaryName(name);
      std::memcpy(gTempName, temp.c_str(), temp.size() + 1);
      gDirectory = dir.get();
      created = ::openat(dir.get(), gTempName, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
      if (created < 0 && (errno != EEXIST || attempt == 100)) fail(target, errno);
      if (created >= 0 && created <= 2) {
        created = detail::aboveStandardStreams(created);
        if (created < 0) {
          const int error = errno;
          ::unlinkat(dir.get(), gTempName, 0);
          fail(target, error);
        }
      }
    }
    gTempActive = 1;
  }
  Descriptor temp(created);
  try {
    writeAll(temp.get(), bytes, target);
    if (replacing) keepOwnerAndMode(temp.get(), old, target);
    if (::fsync(temp.get()) != 0) fail(target, errno);
    if (const int error = temp.close()) fail(target, error);
    const BlockedSignals blocked;
    if (::renameat(dir.get(), gTempName, dir.get(), name.c_str()) != 0) fail(target, errno);
    gTempActive = 0;
  } catch (...) {
    const BlockedSignals blocked;
    ::unlinkat(dir.get(), gTempName, 0);
    gTempActive = 0;
    throw;
  }
  // Some file systems cannot sync a directory (EINVAL); the rename stands either way.
  if (::fsync(dir.get()) != 0 && errno != EINVAL)
    throw SaveError(target, errno, "saved, but its directory could not be synced: " + reasonOf(errno));
}

void removeUnfinishedSave() noexcept {
  if (gTempActive) {
    ::unlinkat(gDirectory, gTempName, 0);
    gTempActive = 0;
  }
}

}  // namespace telvor::catalogue
