// The fixture of the end-to-end tests: runs the built telvor-nodes in a scratch directory.
#pragma once

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "support/scratch_files.hpp"

namespace telvor::tool_test {

namespace fs = std::filesystem;

struct ToolRun {
  int status;
  std::string out;
  std::string err;
};

using testing_support::slurp;
using testing_support::spit;

class ToolTest : public testing::Test {
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

  testing_support::ScratchDir scratch_;
};

}  // namespace telvor::tool_test
