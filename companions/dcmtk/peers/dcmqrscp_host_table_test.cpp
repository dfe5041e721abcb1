#include "telvor/dcmtk/dcmqrscp_host_table.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "support/capture.hpp"
#include "support/peer_nodes.hpp"
#include "testing/local_peers.hpp"

// DCMTK 3.6.7 does not free the peer list of a HostTable line it refuses; the damaged-input
// tests make it do so on purpose. LeakSanitizer reads this hook when the suite is built
// with it (otherwise nothing calls it).
extern "C" __attribute__((visibility("default"), used)) const char* __lsan_default_suppressions() {
  return "leak:DcmQueryRetrieveConfig::readPeerList\nleak:DcmQueryRetrieveConfig::parsevalues\n";
}

namespace telvor::dcmtk {
namespace {

using testing_support::capture;
using testing_support::peerNode;
using peers::PeerFormatError;

std::string table(const std::string& lines) { return "HostTable BEGIN\n" + lines + "HostTable END\n"; }

TEST(DcmqrscpHostTable, ImportsPeersInOrderAndReportsGroupsAliasesAndRepeatedNames) {
  const auto list = importDcmqrscpHostTable(
      "# dcmqrscp.cfg\nNetworkTCPPort = 11112\nMaxPDUSize = 16384\nMaxAssociations = 16\n" +
      table("ctroom    = (CT2_SCU, ct2.hospital.lan, 104)\n"
            "archive   = (LTA_MAIN, lta.hospital.lan, 11112)\n"
            "radiology = ctroom, archive, (ws_1, ws1, 4006)\n"
            "ctroom    = (OTHER, other, 1)\n"
            "alias     = archive\n") +
      "VendorTable BEGIN\nVendorTable END\nAETable BEGIN\nAETable END\n");
  std::vector<std::string> got;
  for (const auto& n : list.nodes) got.push_back(*n.name + '=' + *n.aetitle + '@' + *n.address + ':' + *n.port);
  EXPECT_EQ(got, (std::vector<std::string>{"ctroom=CT2_SCU@ct2.hospital.lan:104",
                                           "archive=LTA_MAIN@lta.hospital.lan:11112", "radiology-3=ws_1@ws1:4006"}));
  std::vector<std::string> losses;
  for (const auto& loss : list.losses) losses.push_back(describe(loss));
  EXPECT_EQ(losses, (std::vector<std::string>{
                        "node 3 \"radiology\": group: 3 peers -> not kept (its peers are nodes of their own)",
                        "node 4 \"ctroom\": node: name defined again -> skipped (dcmqrscp uses the first)",
                        "node 5 \"alias\": node: (LTA_MAIN, lta.hospital.lan, 11112), an earlier entry's peer -> "
                        "skipped (the same peer as an earlier node)"}));
}

TEST(DcmqrscpHostTable, DamagedFilesGiveDcmtksOwnComplaint) {
  const std::pair<std::string, const char*> cases[] = {
      {table("group = missing\n"), "\"missing\" not defined"},
      {table("ct = (CT, ct, 104) # trailing comment\n"), "not defined"},
      {"HostTable BEGIN\nct = (CT, ct, 104)\n", "No \"HostTable END\""},
  };
  for (const auto& [text, complaint] : cases) {
    SCOPED_TRACE(text);
    const auto e = capture<PeerFormatError>([&text = text] { importDcmqrscpHostTable(text); });
    EXPECT_NE(std::string(e.what()).find(complaint), std::string::npos) << e.what();
    EXPECT_EQ(std::string(e.what()).find("/proc/self/fd"), std::string::npos) << e.what();
  }
}

TEST(DcmqrscpHostTable, ExportReadsBackThroughDcmtkAsTheSamePeers) {
  const std::vector<DicomNode> nodes{peerNode("ct room", "CT2_SCU", "ct2.hospital.lan", "104"),
                                     peerNode("ct room", "ct2_scu", "10.1.4.22", "0104"), peerNode(nullptr, "X", "h", "1"),
                                     peerNode("#hash", "H", "h", "2")};
  const auto out = exportDcmqrscpHostTable(nodes);
  const auto back = importDcmqrscpHostTable(out.text);
  ASSERT_EQ(back.nodes.size(), nodes.size()) << out.text;
  EXPECT_TRUE(back.losses.empty());
  const char* names[] = {"ct_room", "ct_room-2", "X", "_#hash"};
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    EXPECT_EQ(back.nodes[i].name, names[i]);
    EXPECT_EQ(back.nodes[i].aetitle, nodes[i].aetitle);
    EXPECT_EQ(back.nodes[i].address, nodes[i].address);
  }
  EXPECT_EQ(back.nodes[1].port, "104");
  std::vector<std::string> fields;
  for (const auto& loss : out.losses) fields.push_back(std::to_string(loss.position) + ' ' + loss.field);
  EXPECT_EQ(fields, (std::vector<std::string>{"1 name", "2 name", "2 port", "3 name", "4 name"}));
}

TEST(DcmqrscpHostTable, RefusesValuesTheGrammarCannotCarry) {
  const DicomNode refused[] = {peerNode("a", "CT SCU", "h", "104"), peerNode("a", "CT", "h,x", "104"),
                               peerNode("a", "C(T)", "h", "104"),    peerNode("a", "CT", "h\xc3\xa9", "104"),
                               peerNode("a", "", "h", "104"),        peerNode("a", "CT", "h", "0")};
  for (const auto& node : refused) {
    SCOPED_TRACE(*node.aetitle + " " + *node.address);
    const auto e = capture<PeerFormatError>([&] { exportDcmqrscpHostTable(std::vector{peerNode("ok", "OK", "h", "1"), node}); });
    EXPECT_EQ(e.place(), "node 2 \"a\"");
  }
}

TEST(DcmqrscpHostTable, DcmqrscpStartsWithAnExportedHostTableAndAnswersAnEcho) {
  namespace tp = test_peers;
  const std::string echoscu = tp::findProgram("echoscu");
  if (tp::findProgram("dcmqrscp").empty() || echoscu.empty()) GTEST_SKIP() << "DCMTK's dcmqrscp and echoscu are not installed";
  tp::TempDir dir;
  std::filesystem::create_directories(dir / "db");
  const auto hosts = exportDcmqrscpHostTable(std::vector{peerNode("echoer", "ECHOSCU", "localhost", "11112"),
                                                          peerNode("archive", "LTA_MAIN", "lta.hospital.lan", "104")});
  std::ofstream(dir / "dcmqrscp.cfg") << "MaxPDUSize = 16384\nMaxAssociations = 4\n" << hosts.text
                                      << "VendorTable BEGIN\nVendorTable END\nAETable BEGIN\nQRSCP "
                                      << (dir / "db").string() << " R (10, 1024mb) ANY\nAETable END\n";
  tp::ServerProcess server({tp::findProgram("dcmqrscp"), "--single-process", "-c", (dir / "dcmqrscp.cfg").string()},
                           dir / "dcmqrscp.log");
  ASSERT_TRUE(server.ready()) << "dcmqrscp did not start with:\n" << hosts.text;
  EXPECT_TRUE(tp::runProgram({echoscu, "-aet", "ECHOSCU", "-aec", "QRSCP", "127.0.0.1", std::to_string(server.port())},
                             dir / "echoscu.log", std::chrono::seconds(30)));
}

}  // namespace
}  // namespace telvor::dcmtk
