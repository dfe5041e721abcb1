#include "telvor/catalogue/bounded_input.hpp"
#include "support/scratch_files.hpp"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>

namespace telvor::catalogue {
namespace {

namespace fs = std::filesystem;

class BoundedInput : public testing::Test {
 protected:
  std::string file(const std::string& name, std::size_t size) const {
    testing_support::spit(dir_ / name, std::string(size, 'n'));
    return (dir_ / name).string();
  }

  testing_support::ScratchDir dir_;
};

// Reads, through its /dev/fd path, a pipe that a child process fills with `size` bytes.
std::string readFromPipe(std::size_t size, std::uint64_t limit) {
  int ends[2];
  if (::pipe(ends) != 0) throw std::runtime_error("pipe");
  const pid_t writer = ::fork();
  if (writer == 0) {
    ::close(ends[0]);
    static const char bytes[64 * 1024] = {};
    for (std::size_t left = size; left > 0;) {
      const ssize_t written = ::write(ends[1], bytes, std::min(left, sizeof bytes));
      if (written <= 0) ::_exit(1);
      left -= static_cast<std::size_t>(written);
    }
    ::_exit(0);
  }
  ::close(ends[1]);
  struct Reap {
    int fd;
    pid_t pid;
    ~Reap() {
      ::close(fd);
      int status;
      ::waitpid(pid, &status, 0);
    }
  } reap{ends[0], writer};
  return readBounded("/dev/fd/" + std::to_string(ends[0]), limit);
}

struct Case {
  const char* name;
  std::function<std::string()> read;
  std::optional<std::size_t> size;  // the bytes read, or absent for an error
  int error = 0;
  std::string message;  // what() starts with it
};

TEST_F(BoundedInput, RefusesWhatIsTooLargeOrNoFileBeforeReadingItWhole) {
  const std::uint64_t mib = 1 << 20;
  const auto dir = dir_.path().string();
  const Case cases[] = {
      {"file at the limit", [&] { return readBounded(file("at", 4096), 4096); }, 4096, 0, ""},
      {"file above the limit", [&] { return readBounded(file("above", 4097), 4096); }, {}, EFBIG,
       dir + "/above: larger than the input limit of 4096 bytes"},
      {"empty file", [&] { return readBounded(file("empty", 0)); }, 0, 0, ""},
      {"pipe within the limit", [&] { return readFromPipe(100'000, mib); }, 100'000, 0, ""},
      {"pipe above the limit", [&] { return readFromPipe(3 * mib, mib); }, {}, EFBIG, "/dev/fd/"},
      {"endless device", [&] { return readBounded("/dev/zero", mib); }, {}, EFBIG, "/dev/zero: larger than"},
      {"directory", [&] { return readBounded(dir); }, {}, EISDIR, dir + ": Is a directory"},
      {"missing", [&] { return readBounded(dir + "/absent"); }, {}, ENOENT,
       dir + "/absent: No such file or directory"},
  };
  for (const auto& c : cases) {
    try {
      const auto bytes = c.read();
      EXPECT_EQ(c.size, bytes.size()) << c.name;
    } catch (const ReadError& e) {
      EXPECT_FALSE(c.size) << c.name << ": " << e.what();
      EXPECT_EQ(e.errorNumber(), c.error) << c.name;
      EXPECT_EQ(std::string(e.what()).rfind(c.message, 0), 0u) << c.name << ": " << e.what();
    }
  }
}

}  // namespace
}  // namespace telvor::catalogue
