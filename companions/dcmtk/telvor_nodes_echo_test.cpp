// End-to-end: `telvor-nodes echo` against real peers, its options, and its deadline
// against a name service that never answers.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>

#include "testing/local_peers.hpp"

namespace telvor::dcmtk::test_peers {
namespace {

using testing_support::slurp;

struct ToolRun {
  int status;
  std::string out;
  std::chrono::steady_clock::duration elapsed;
};

// Runs `command` through the shell, standard output and error together.
ToolRun runShell(const TempDir& dir, const std::string& command) {
  const auto out = dir / "tool.out";
  const auto start = std::chrono::steady_clock::now();
  const int raw = std::system((command + " >'" + out.string() + "' 2>&1").c_str());
  return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(out), std::chrono::steady_clock::now() - start};
}

#ifdef TELVOR_NODES_TOOL
#define REQUIRE_TOOL()
const std::string kTool = std::string("'") + TELVOR_NODES_TOOL + "'";
#else
#define REQUIRE_TOOL() GTEST_SKIP() << "the tool is not built"
const std::string kTool;
#endif

ToolRun echoTool(const TempDir& dir, const std::string& args) {
  return runShell(dir, kTool + " echo --aet TELVOR_TEST " + args);
}

ToolRun echoCatalogue(const TempDir& dir, const std::string& nodes, const std::string& args = "--timeout 2") {
  const auto file = dir / "nodes.json";
  std::ofstream(file) << nodes;
  return echoTool(dir, "'" + file.string() + "' " + args);
}

std::string nodeJson(const std::string& address, std::uint16_t port) {
  return R"({"aetitle":"STORESCP","name":"Local SCP","address":")" + address + R"(","port":")" +
         std::to_string(port) +
         R"(","transferSyntax":2,"retrieveMode":1,"isDicomNode":true,"wadoSettings":{"retrieveSyntax":0,"https":false}})";
}

TEST(TelvorNodesEcho, ReportsARunningScpOnlineAndAStoppedOneOfflineWithTheReason) {
  REQUIRE_TOOL();
  if (findProgram("storescp").empty()) GTEST_SKIP() << "storescp is not installed";
  TempDir dir;
  std::uint16_t port = 0;
  {
    ServerProcess scp({findProgram("storescp"), "-od", dir.path().string()}, dir / "storescp.log");
    ASSERT_TRUE(scp.ready());
    port = scp.port();
    const auto online = echoCatalogue(dir, nodeJson("127.0.0.1", port));
    EXPECT_EQ(online.status, 0) << online.out;
    EXPECT_EQ(online.out, "Local SCP: online\n");
  }
  const auto offline = echoCatalogue(dir, nodeJson("127.0.0.1", port));
  EXPECT_EQ(offline.status, 1) << offline.out;
  EXPECT_EQ(offline.out.rfind("Local SCP: offline: ", 0), 0u) << offline.out;
  EXPECT_NE(offline.out.find("refused"), std::string::npos) << offline.out;
}

TEST(TelvorNodesEcho, OptionsOutOfRangeAreUsageErrors) {
  REQUIRE_TOOL();
  TempDir dir;
  // A node that is not contacted keeps the accepted cases quick.
  const std::string flagged = nodeJson("dicom://nowhere", 104);
  const std::pair<std::string, int> cases[] = {
      {"--timeout nan", 2},        {"--timeout inf", 2},        {"--timeout -inf", 2},
      {"--timeout 0", 2},          {"--timeout -1", 2},         {"--timeout 3600.001", 2},
      {"--timeout 1e9", 2},        {"--timeout ''", 2},         {"--timeout 2s", 2},
      {"--jobs 0", 2},             {"--jobs 1025", 2},          {"--jobs -1", 2},
      {"--jobs 1.5", 2},           {"--cert c.pem", 2},         {"--key k.pem", 2},
      {"--port 104", 2},           {"--host 127.0.0.1", 2},     {"--timeout 3600 --jobs 1024", 1},
      {"--timeout 0.001 --jobs 1", 1},
  };
  for (const auto& [args, status] : cases) {
    const auto run = echoCatalogue(dir, flagged, args);
    EXPECT_EQ(run.status, status) << args << "\n" << run.out;
  }
  const auto nan = echoCatalogue(dir, flagged, "--timeout nan");
  EXPECT_NE(nan.out.find("--timeout: takes seconds above 0 and at most 3600, not nan"), std::string::npos) << nan.out;
}

// A selector probes one node of the catalogue and no other; the calling AE title and the
// catalogue are checked before anything is probed.
TEST(TelvorNodesEcho, SelectorsProbeOneNodeAndBadUsageIsSaidOnce) {
  REQUIRE_TOOL();
  if (findProgram("storescp").empty()) GTEST_SKIP() << "storescp is not installed";
  TempDir dir;
  ServerProcess scp({findProgram("storescp"), "-od", dir.path().string()}, dir / "storescp.log");
  ASSERT_TRUE(scp.ready());
  const std::uint16_t closed = freePort();
  std::string online = nodeJson("127.0.0.1", scp.port());
  online.insert(1, R"("uniqueId":"6C1F3C8E-2B7A-4D2E-9F7B-1D2C3B4A5E6F",)");
  std::string refusing = nodeJson("127.0.0.1", closed);
  refusing.replace(refusing.find("Local SCP"), 9, "Closed");
  refusing.replace(refusing.find("STORESCP"), 8, "CLOSED");
  const std::string nodes = "[" + refusing + "," + online + "]";
  for (const std::string selector :
       {"--index 2", "--name 'Local SCP'", "--node-aet STORESCP", "--id 6C1F3C8E-2B7A-4D2E-9F7B-1D2C3B4A5E6F"}) {
    const auto run = echoCatalogue(dir, nodes, "--timeout 2 " + selector);
    EXPECT_EQ(run.status, 0) << selector << "\n" << run.out;
    EXPECT_EQ(run.out, "Local SCP: online\n") << selector;
  }
  const auto json = echoCatalogue(dir, nodes, "--timeout 2 --index 1 --json");
  EXPECT_EQ(json.status, 1) << json.out;
  EXPECT_NE(json.out.find("\"index\": 1"), std::string::npos) << json.out;

  struct Usage {
    std::string args, said;
  };
  const std::vector<Usage> usage{
      {"--index 1 --name Closed", "select at most one node"},
      {"--listen-port 11113", "--listen-port and --accept-from go with --check-retrieve"},
      {"--index 3", "no node at position 3"},
      {"--node-aet NOBODY", "no node matches the AE title \"NOBODY\""},
      {"--aet 'BACK\\SLASH'", "--aet \"BACK\\SLASH\" is not a valid AE title"},
      {"--aet SEVENTEEN-LETTERS", "--aet \"SEVENTEEN-LETTERS\" is not a valid AE title"},
  };
  for (const auto& u : usage) {
    // Without echoTool's own --aet.
    const auto run = runShell(dir, kTool + " echo '" + (dir / "nodes.json").string() + "' --timeout 2 " + u.args);
    EXPECT_EQ(run.status, 2) << u.args << "\n" << run.out;
    // Said once, and no node was probed.
    EXPECT_EQ(run.out.rfind("telvor-nodes: " + u.said, 0), 0u) << u.args << "\n" << run.out;
    EXPECT_EQ(run.out.find("telvor-nodes:", 1), std::string::npos) << u.args << "\n" << run.out;
    EXPECT_EQ(run.out.find(": o"), std::string::npos) << u.args << "\n" << run.out;
  }
  const auto noFile = echoTool(dir, "--timeout 2");
  EXPECT_EQ(noFile.status, 2) << noFile.out;
  EXPECT_NE(noFile.out.find("echo needs a catalogue"), std::string::npos) << noFile.out;
}

// What the retrieve check finds is the library's (retrieve_check_test.cpp); here, that the
// options reach it and each answer is printed.
TEST(TelvorNodesEcho, CheckRetrieveAddsTheAnswerToTheLine) {
  REQUIRE_TOOL();
  for (const char* program : {"dcmqrscp", "storescu", "dump2dcm"})
    if (findProgram(program).empty()) GTEST_SKIP() << program << " is not installed";
  TempDir dir;
  const std::uint16_t listen = freePort();
  const auto instance = makeTestInstance(dir);
  ASSERT_FALSE(instance.empty());
  const auto archive = startArchive(dir, "TELVOR_TEST", listen, instance);
  ASSERT_TRUE(archive);
  const std::string peer = "--host 127.0.0.1 --port " + std::to_string(archive->port()) + " --check-retrieve ";
  const auto moved = echoTool(dir, peer + "--aec ARCHIVE --listen-port " + std::to_string(listen));
  EXPECT_EQ(moved.out, "127.0.0.1: online; retrieve: yes\n");
  const auto stranger = runShell(dir, kTool + " echo --aet STRANGER " + peer + "--aec ARCHIVE --listen-port " +
                                          std::to_string(listen) + " --json");
  EXPECT_NE(stranger.out.find("\"title\": \"no\""), std::string::npos) << stranger.out;
  EXPECT_NE(stranger.out.find("does not know STRANGER as a move destination"), std::string::npos) << stranger.out;
  const auto got = echoTool(dir, peer + "--aec EMPTY");
  EXPECT_EQ(got.out.rfind("127.0.0.1: online; retrieve: unknown: ", 0), 0u) << got.out;
}

// What the query check finds is the library's (echo_test.cpp); here, that the option and
// an unsaved target reach it.
TEST(TelvorNodesEcho, CheckFindTellsWhetherAnUnsavedTargetAnswersQueries) {
  REQUIRE_TOOL();
  if (findProgram("dcmqrscp").empty()) GTEST_SKIP() << "dcmqrscp is not installed";
  TempDir dir;
  ServerProcess archive = startDcmqrscp(dir, "ARCHIVE");
  ASSERT_TRUE(archive.ready());
  const auto yes = echoTool(dir, "--host 127.0.0.1 --port " + std::to_string(archive.port()) +
                                     " --aec ARCHIVE --check-find");
  EXPECT_EQ(yes.status, 0) << yes.out;
  EXPECT_EQ(yes.out, "127.0.0.1: online; query: yes\n");
}

TEST(TelvorNodesEcho, TlsFilesFromTheOptionsReachNodesWithTlsOn) {
  REQUIRE_TOOL();
  if (findProgram("storescp").empty() || findProgram("openssl").empty())
    GTEST_SKIP() << "storescp or openssl is not installed";
  TempDir dir;
  const auto server = makeCertificate(dir, "server");
  const auto client = makeCertificate(dir, "client");
  ASSERT_TRUE(server && client);
  // storescp over TLS, trusting only the client's certificate.
  ServerProcess scp({findProgram("storescp"), "+tls", server->key.string(), server->certificate.string(), "+cf",
                     client->certificate.string(), "-od", dir.path().string()},
                    dir / "storescp.log");
  ASSERT_TRUE(scp.ready());
  std::string node = nodeJson("127.0.0.1", scp.port());
  node.insert(node.size() - 1, R"(,"tlsSettings":{"isEnabled":true,"securityProfile":4,"verifyPeerCertificate":true,)"
                               R"("authenticateWithCertificate":true})");
  const std::string trust = " --ca-file '" + server->certificate.string() + "'";
  const std::string mine = " --cert '" + client->certificate.string() + "' --key '" + client->key.string() + "'";

  const auto both = echoCatalogue(dir, node, "--timeout 5" + trust + mine);
  EXPECT_EQ(both.status, 0) << both.out;
  EXPECT_EQ(both.out, "Local SCP: online\n");
  const auto untrusted = echoCatalogue(dir, node, "--timeout 5" + mine);
  EXPECT_EQ(untrusted.status, 1) << untrusted.out;
  EXPECT_NE(untrusted.out.find("the peer's certificate is not trusted"), std::string::npos) << untrusted.out;
  const auto noCertificate = echoCatalogue(dir, node, "--timeout 5" + trust);
  EXPECT_EQ(noCertificate.status, 1) << noCertificate.out;
  EXPECT_NE(noCertificate.out.find("unknown: The node authenticates with a client certificate, but none is installed"),
            std::string::npos)
      << noCertificate.out;
}

// The tool in a private network namespace whose name server (127.0.0.1, named in a
// private resolv.conf) takes queries and never answers.
TEST(TelvorNodesEcho, ANameServiceThatNeverAnswersEndsWithinTheTimeout) {
  REQUIRE_TOOL();
  if (findProgram("unshare").empty() || findProgram("ip").empty() || findProgram("python3").empty())
    GTEST_SKIP() << "unshare, ip or python3 is not installed";
  TempDir dir;
  std::ofstream(dir / "resolv.conf") << "nameserver 127.0.0.1\noptions timeout:30 attempts:5\n";
  // Reads queries for at most 20 s and answers none.
  std::ofstream(dir / "silent_dns.py")
      << "import socket, sys, time\n"
         "s = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)\n"
         "s.bind(('127.0.0.1', 53))\n"
         "open(sys.argv[1], 'w').close()\n"
         "end = time.time() + 20\n"
         "while time.time() < end:\n"
         "    s.settimeout(max(0.1, end - time.time()))\n"
         "    try: s.recvfrom(512)\n"
         "    except OSError: pass\n";
  const std::string ready = (dir / "dns.ready").string();
  const std::string script =
      "set -e; ip link set lo up; mount --bind '" + (dir / "resolv.conf").string() + "' /etc/resolv.conf; python3 '" +
      (dir / "silent_dns.py").string() + "' '" + ready + "' & dns=$!; i=0; while [ ! -e '" + ready +
      "' ] && [ $i -lt 100 ]; do sleep 0.05; i=$((i+1)); done; [ -e '" + ready + "' ] || { kill $dns; exit 97; }; " +
      "start=$(date +%s%N); set +e; " + kTool +
      " echo --host silent.telvor.test --aec ARCHIVE --timeout 2; rc=$?; end=$(date +%s%N); kill $dns; "
      "echo \"elapsed-ms $(( (end - start) / 1000000 ))\"; exit $rc";
  std::ofstream(dir / "run.sh") << script << '\n';
  const auto probe = runShell(dir, "unshare -rmn true");
  if (probe.status != 0) GTEST_SKIP() << "user, mount and network namespaces are not permitted here: " << probe.out;
  const auto run = runShell(dir, "unshare -rmn sh '" + (dir / "run.sh").string() + "'");
  ASSERT_NE(run.status, 97) << "the stub name server did not start: " << run.out;
  EXPECT_EQ(run.status, 1) << run.out;
  EXPECT_NE(run.out.find("silent.telvor.test: offline: The address \"silent.telvor.test\" was not resolved within 2 s"),
            std::string::npos)
      << run.out;
  const auto at = run.out.find("elapsed-ms ");
  ASSERT_NE(at, std::string::npos) << run.out;
  EXPECT_LT(std::stol(run.out.substr(at + 11)), 3000) << run.out;
}

}  // namespace
}  // namespace telvor::dcmtk::test_peers
