// The fixture of the end-to-end tests: runs the built telvor-nodes in a scratch directory.
#pragma once

#include <gtest/gtest.h>

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace telvor::tool_test {

namespace fs = std::filesystem;

struct ToolRun {
  int status;
  std::string out;
  std::string err;
};

inline std::string slurp(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

inline void spit(const fs::path& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

class ToolTest : public testing::Test {
 protected:
  void SetUp() override {
    scratch_ = fs::temp_directory_path() / ("telvor-nodes-test-" + std::to_string(::getpid()) + "-" +
                                            testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::create_directories(scratch_);
  }
  void TearDown() override { fs::remove_all(scratch_); }

 public:

  // Runs the tool with `args` (a shell-quoted string), standard input from `stdinPath`,
  // standard output to `stdoutPath` (kept in `out` when empty).
  ToolRun run(const std::string& args, const std::string& stdinPath = "/dev/null",
              const std::string& stdoutPath = "") const {
    return shell("'" + std::string(TELVOR_NODES_TOOL) + "' " + args, stdinPath, stdoutPath);
  }

  // Runs a shell command line, capturing its outputs.
  ToolRun shell(const std::string& line, const std::string& stdinPath = "/dev/null",
                const std::string& stdoutPath = "") const {
    const auto out = stdoutPath.empty() ? scratch_ / "stdout" : fs::path(stdoutPath), err = scratch_ / "stderr";
    const std::string command =
        "(" + line + ") <'" + stdinPath + "' >'" + out.string() + "' 2>'" + err.string() + "'";
    const int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, stdoutPath.empty() ? slurp(out) : "", slurp(err)};
  }

  // Runs one of the Python helpers beside these tests.
  ToolRun python(const std::string& script, const std::string& args, const std::string& stdinPath = "/dev/null") const {
    return shell("python3 '" + std::string(TELVOR_SOURCE_DIR) + "/tests/tool/" + script + "' " + args, stdinPath);
  }

  static std::string data(const std::string& name) { return std::string(TELVOR_SOURCE_DIR) + "/tests/data/" + name; }
  std::string scratch(const std::string& name) const { return (scratch_ / name).string(); }

  fs::path scratch_;
};

}  // namespace telvor::tool_test
