#include "dcmtk_stderr_capture.hpp"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <mutex>
#include <stdexcept>

namespace telvor::dcmtk::detail {
namespace {
std::mutex captureLock;
}

std::string captureStandardError(const std::function<void()>& read) {
  const std::lock_guard lock(captureLock);
  std::fflush(stderr);
  const int sink = memfd_create("telvor-dcmtk-messages", MFD_CLOEXEC);
  const int saved = sink < 0 ? -1 : dup(STDERR_FILENO);
  if (sink < 0 || saved < 0 || dup2(sink, STDERR_FILENO) < 0) {
    if (saved >= 0) close(saved);
    if (sink >= 0) close(sink);
    read();
    return {};
  }
  try {
    read();
  } catch (...) {
    std::fflush(stderr);
    dup2(saved, STDERR_FILENO);
    close(saved);
    close(sink);
    throw;
  }
  std::fflush(stderr);
  dup2(saved, STDERR_FILENO);
  close(saved);
  std::string text;
  char buffer[4096];
  for (off_t at = 0;;) {
    const ssize_t n = pread(sink, buffer, sizeof buffer, at);
    if (n <= 0) break;
    text.append(buffer, static_cast<std::size_t>(n));
    at += n;
  }
  close(sink);
  return text;
}

MemoryFile::MemoryFile(std::string_view text) {
  fd_ = memfd_create("telvor-dcmtk-configuration", MFD_CLOEXEC);
  if (fd_ < 0) throw std::runtime_error("cannot make an in-memory file for DCMTK's reader");
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t n = write(fd_, text.data() + done, text.size() - done);
    if (n <= 0) {
      close(fd_);
      throw std::runtime_error("cannot fill an in-memory file for DCMTK's reader");
    }
    done += static_cast<std::size_t>(n);
  }
  path_ = "/proc/self/fd/" + std::to_string(fd_);
}

MemoryFile::~MemoryFile() { close(fd_); }

}  // namespace telvor::dcmtk::detail
