// Runs a DCMTK reader that complains on standard error, keeping its complaint for our
// error message instead. Private to the companion's peer readers.
#pragma once

#include <functional>
#include <string>

namespace telvor::dcmtk::detail {

// Calls `read` with this process's standard error sent to an in-memory file, and returns
// what was written there. One capture at a time (a process-wide lock); when no capture
// file can be made, `read` runs with standard error as it is and the result is empty.
std::string captureStandardError(const std::function<void()>& read);

// An in-memory file holding `text`, with a path DCMTK can open ("/proc/self/fd/N"); the
// file closes with the object.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view text);
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;
  const std::string& path() const noexcept { return path_; }

 private:
  int fd_ = -1;
  std::string path_;
};

}  // namespace telvor::dcmtk::detail
