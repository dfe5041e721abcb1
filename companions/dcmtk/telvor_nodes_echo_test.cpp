// End-to-end: `telvor-nodes echo` against a running, then a stopped, storescp.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

#include "testing/local_peers.hpp"

namespace telvor::dcmtk::test_peers {
namespace {

struct EchoRun {
  int status;
  std::string out;
};

#ifdef TELVOR_NODES_TOOL
EchoRun echo(const TempDir& dir, const std::string& nodes) {
  const auto file = dir / "nodes.json";
  std::ofstream(file) << nodes;
  const auto out = dir / "echo.out";
  const std::string command = std::string("'") + TELVOR_NODES_TOOL + "' echo '" + file.string() +
                              "' --aet TELVOR_TEST --timeout 2 >'" + out.string() + "' 2>&1";
  const int raw = std::system(command.c_str());
  std::ifstream read(out);
  std::ostringstream text;
  text << read.rdbuf();
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, text.str()};
}
#endif

std::string nodeJson(std::uint16_t port) {
  return R"({"aetitle":"STORESCP","name":"Local SCP","address":"127.0.0.1","port":")" + std::to_string(port) +
         R"(","transferSyntax":2,"retrieveMode":1,"isDicomNode":true,"wadoSettings":{"retrieveSyntax":0,"https":false}})";
}

TEST(TelvorNodesEcho, ReportsARunningScpOnlineAndAStoppedOneOfflineWithTheReason) {
#ifndef TELVOR_NODES_TOOL
  GTEST_SKIP() << "the tool is not built";
#else
  if (findProgram("storescp").empty()) GTEST_SKIP() << "storescp is not installed";
  TempDir dir;
  std::uint16_t port = 0;
  {
    ServerProcess scp({findProgram("storescp"), "-od", dir.path().string()}, dir / "storescp.log");
    ASSERT_TRUE(scp.ready());
    port = scp.port();
    const auto online = echo(dir, nodeJson(port));
    EXPECT_EQ(online.status, 0) << online.out;
    EXPECT_EQ(online.out, "Local SCP: online\n");
  }
  const auto offline = echo(dir, nodeJson(port));
  EXPECT_EQ(offline.status, 1) << offline.out;
  EXPECT_EQ(offline.out.rfind("Local SCP: offline: ", 0), 0u) << offline.out;
  EXPECT_NE(offline.out.find("refused"), std::string::npos) << offline.out;
#endif
}

}  // namespace
}  // namespace telvor::dcmtk::test_peers
