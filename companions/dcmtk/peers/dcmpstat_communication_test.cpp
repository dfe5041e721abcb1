#include "telvor/dcmtk/dcmpstat_communication.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/capture.hpp"
#include "support/peer_nodes.hpp"

namespace telvor::dcmtk {
namespace {

using testing_support::capture;
using testing_support::peerNode;
using peers::PeerFormatError;

TlsSettings tls(bool enabled, TLSSecurityProfile profile, bool verify, bool certificate) {
  TlsSettings t;
  t.isEnabled = enabled;
  t.securityProfile = profile;
  t.verifyPeerCertificate = verify;
  t.authenticateWithCertificate = certificate;
  return t;
}

constexpr const char* kSample = R"([[GENERAL]]
[NETWORK]
AETitle = OUR_AE

[[COMMUNICATION]]
[ARCHIVE]
Type = STORAGE
Description = Long-term archive
Aetitle = LTA_MAIN
Hostname = lta.hospital.lan
Port = 11112
UseTLS = true
TLSProfile = BCP195
PeerAuthentication = VERIFY
Certificate = reader.pem
PrivateKey = reader.key
PrivateKeyPassword = s3cret
MaxPDU = 32768

[Main PACS]
aetitle = pacs
hostname = 10.0.0.5
port = 104
implicitonly = yes

[RECEIVER]
Type = RECEIVER
Aetitle = OUR_AE
Port = 10004

[PRINT]
Type = PRINTER
Aetitle = PRINTSCP
)";

TEST(DcmpstatCommunication, ImportsStorageTargetsAsDcmtkReadsThem) {
  const auto list = importDcmpstatCommunication(kSample);
  ASSERT_EQ(list.nodes.size(), 2u);
  const DicomNode& archive = list.nodes[0];
  EXPECT_EQ(archive.name, "Long-term archive [ARCHIVE]");  // the section ID, for the export
  EXPECT_EQ(archive.aetitle, "LTA_MAIN");
  EXPECT_EQ(archive.port, "11112");
  ASSERT_TRUE(archive.tlsSettings);
  EXPECT_EQ(*archive.tlsSettings, tls(true, TLSSecurityProfile::profile3, true, true));
  const DicomNode& pacs = list.nodes[1];
  EXPECT_EQ(pacs.name, "MAINPACS");  // the ID as DCMTK makes it: upper case, the space dropped
  EXPECT_EQ(pacs.aetitle, "pacs");   // values keep their case
  EXPECT_EQ(pacs.transferSyntax, TransferSyntax::EXS_LittleEndianImplicit);
  EXPECT_EQ(*pacs.tlsSettings, TlsSettings());

  std::vector<std::string> losses;
  for (const auto& loss : list.losses) losses.push_back(describe(loss));
  EXPECT_EQ(list.sources, (std::vector<std::size_t>{1, 2}));
  EXPECT_EQ(losses, (std::vector<std::string>{
                        "node 1 \"Long-term archive [ARCHIVE]\": PrivateKeyPassword: (set, not shown) -> not kept (no field for it)",
                        "node 1 \"Long-term archive [ARCHIVE]\": MaxPDU: \"32768\" -> not kept (no field for it)",
                        "node 1 \"Long-term archive [ARCHIVE]\": Certificate: \"reader.pem\" -> file name not kept",
                        "node 1 \"Long-term archive [ARCHIVE]\": PrivateKey: \"reader.key\" -> file name not kept",
                        "node 3 \"RECEIVER\": node: Type RECEIVER -> skipped (a local service, not a peer)",
                        "node 4 \"PRINT\": node: Type PRINTER -> skipped (a printer, not a storage peer)"}));
}

TEST(DcmpstatCommunication, TlsDefaultsAreDcmtksAndUnknownProfilesAreRefused) {
  const auto defaults = importDcmpstatCommunication("[[COMMUNICATION]]\n[A]\nAetitle = A\nUseTLS = on\n");
  EXPECT_EQ(*defaults.nodes.at(0).tlsSettings, tls(true, TLSSecurityProfile::profile3, true, false));
  // TLS without encryption cannot be carried: the one loss that changes how the peer is reached.
  const auto null = importDcmpstatCommunication("[[COMMUNICATION]]\n[A]\nUseTLS = true\ntlsprofile = NULL\n");
  EXPECT_EQ(null.losses.at(0).field, "tlsprofile");
  EXPECT_TRUE(null.losses.at(0).unfaithful);
  const auto later = importDcmpstatCommunication("[[COMMUNICATION]]\n[A]\nUseTLS = true\nTLSProfile = BCP195-RFC8996\n");
  EXPECT_FALSE(later.losses.at(0).unfaithful);

  const std::pair<const char*, const char*> damaged[] = {
      {"[[COMMUNICATION]]\n[A]\nUseTLS = true\nTLSProfile = bcp195\n", "[A]"},  // names are exact case
      {"[[GENERAL]]\n[NETWORK]\nAETitle = X\n", "[[COMMUNICATION]]"},
      {"", "line 1"},
  };
  for (const auto& [text, place] : damaged) {
    SCOPED_TRACE(text);
    const auto e = capture<PeerFormatError>([&text = text] { importDcmpstatCommunication(text); });
    EXPECT_EQ(e.place(), place) << e.what();
  }
}

DicomNode peer(const char* name, const char* aet, const char* port) { return peerNode(name, aet, "10.0.0.1", port); }

TEST(DcmpstatCommunication, ExportReadsBackThroughOfConfigFile) {
  std::vector<DicomNode> nodes;
  for (const TLSSecurityProfile profile : allCases<TLSSecurityProfile>()) {
    if (profile == TLSSecurityProfile::profile0) continue;  // no dcmpstat name
    const std::string name = "Archive " + std::to_string(rawValue(profile));
    DicomNode node = peer(name.c_str(), "ARCH", "11112");
    node.tlsSettings = tls(true, profile, rawValue(profile) % 2 == 0, true);
    nodes.push_back(node);
  }
  DicomNode implicit = peer("ct room 2", "ct2", "104");
  implicit.transferSyntax = TransferSyntax::EXS_LittleEndianImplicit;
  nodes.push_back(implicit);
  const auto out = exportDcmpstatCommunication(nodes, {"client.pem", "client.key"});
  EXPECT_TRUE(out.losses.empty()) << describe(out.losses.front());
  const auto back = importDcmpstatCommunication(out.text);
  ASSERT_EQ(back.nodes.size(), nodes.size());
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    DicomNode expected = nodes[i];
    expected.uniqueId = back.nodes[i].uniqueId;
    EXPECT_EQ(back.nodes[i], expected) << i << '\n' << out.text;
  }
  EXPECT_NE(out.text.find("[ARCHIVE2]"), std::string::npos);
  EXPECT_NE(out.text.find("[CTROOM2]"), std::string::npos);
}

TEST(DcmpstatCommunication, SectionIdsComeBackOnExport) {
  const auto list = importDcmpstatCommunication(
      "[[COMMUNICATION]]\n[STORE_1]\nDescription = Main archive\nAetitle = A\nHostname = h\nPort = 104\n"
      "[ARCHIVE]\nDescription = Archive\nAetitle = B\nHostname = h\nPort = 104\n"
      "[PACS]\nAetitle = C\nHostname = h\nPort = 104\n");
  ASSERT_EQ(list.nodes.size(), 3u);
  EXPECT_EQ(list.nodes[0].name, "Main archive [STORE_1]");
  EXPECT_EQ(list.nodes[1].name, "Archive");  // its description gives the ID back
  EXPECT_EQ(list.nodes[2].name, "PACS");
  const auto out = exportDcmpstatCommunication(list.nodes);
  EXPECT_TRUE(out.losses.empty()) << describe(out.losses.front());
  EXPECT_NE(out.text.find("[STORE_1]\nType = STORAGE\nDescription = Main archive\nAetitle = A\n"), std::string::npos)
      << out.text;
  EXPECT_NE(out.text.find("[ARCHIVE]\nType = STORAGE\nDescription = Archive\n"), std::string::npos) << out.text;
  EXPECT_NE(out.text.find("[PACS]\nType = STORAGE\nAetitle = C\n"), std::string::npos) << out.text;

  // A second node of the same name gets another ID, and reads back carrying it.
  const auto twice = exportDcmpstatCommunication(std::vector{list.nodes[1], list.nodes[1]});
  ASSERT_EQ(twice.losses.size(), 1u);
  EXPECT_EQ(describe(twice.losses[0]), "node 2 \"Archive\": name: \"Archive\" -> reads back as \"Archive [ARCHIVE_2]\"");
}

TEST(DcmpstatCommunication, ExportReportsWhatTheFileCannotHoldAndRefusesLineBreaks) {
  DicomNode blank = peer("  indented", "A", "104");
  DicomNode none = peer("a", "A", "104");
  none.tlsSettings = tls(true, TLSSecurityProfile::profile0, false, true);  // no name, no key files given
  const auto out = exportDcmpstatCommunication(std::vector{blank, none});
  std::vector<std::string> losses;
  for (const auto& loss : out.losses) losses.push_back(std::to_string(loss.position) + ' ' + loss.field + ": " + loss.chosen);
  EXPECT_EQ(losses, (std::vector<std::string>{"1 name: reads back as \"indented\"",
                                              "2 tlsSettings.securityProfile: reads back as profile 3",
                                              "2 tlsSettings.authenticateWithCertificate: reads back as false"}));
  for (const char* name : {"two\nlines", "tab\there"}) {
    SCOPED_TRACE(name);
    const auto e = capture<PeerFormatError>([&] { exportDcmpstatCommunication(std::vector{peer(name, "A", "104")}); });
    EXPECT_EQ(e.place().rfind("node 1", 0), 0u);
  }
}

}  // namespace
}  // namespace telvor::dcmtk
