#include "telvor/dcmtk/node_probe.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "testing/local_peers.hpp"

namespace telvor::dcmtk {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using namespace telvor::dcmtk::test_peers;

DicomNode node(std::string address, std::string port, std::string aetitle) {
  DicomNode n;
  n.address = std::move(address);
  n.port = std::move(port);
  n.aetitle = std::move(aetitle);
  return n;
}

DicomNode tlsNode(bool authenticate) {
  DicomNode n = node("10.0.0.5", "2762", "ARCHIVE");
  n.tlsSettings = TlsSettings();
  n.tlsSettings->isEnabled = true;
  n.tlsSettings->securityProfile = TLSSecurityProfile::profile5;
  n.tlsSettings->verifyPeerCertificate = true;
  n.tlsSettings->authenticateWithCertificate = authenticate;
  return n;
}

ProbeOptions options() {
  ProbeOptions o;
  o.callingAeTitle = "VIEWER";
  o.timeout = 1s;
  o.applicationIdentifier = "org.example.viewer";
  o.trustedCertificateFiles = {"/etc/viewer/ca.pem"};
  o.trustedCertificateDirectories = {"/etc/viewer/ca.d"};
  return o;
}

TEST(NodeEchoTarget, APlainNodeIsItsAddressPortAndAeTitle) {
  DicomNode n = node("pacs.example", "11112", "ARCHIVE");
  n.tlsSettings.reset();
  const auto target = std::get<EchoTarget>(echoTarget(n, options()));
  EXPECT_EQ(target.address, "pacs.example");
  EXPECT_EQ(target.port, 11112);
  EXPECT_EQ(target.calledAeTitle, "ARCHIVE");
  EXPECT_FALSE(target.tls.has_value());
  // TLS settings that are off count as none.
  EXPECT_FALSE(std::get<EchoTarget>(echoTarget(node("pacs.example", "65535", "ARCHIVE"), options())).tls);
}

TEST(NodeEchoTarget, AddressesWithAPortOrASchemeAreNotContacted) {
  SilentListener listener;
  const std::string port = std::to_string(listener.port());
  const std::pair<std::string, std::string> cases[] = {
      {"127.0.0.1:" + port, "carries a port of its own"},
      {"[::1]:" + port, "carries a port of its own"},
      {"dicom://127.0.0.1", "begins with a scheme"},
  };
  for (const auto& [address, reason] : cases) {
    const EchoResult result = echoNode(node(address, port, "ARCHIVE"), options());
    EXPECT_EQ(result.outcome, EchoOutcome::notAttempted) << address;
    EXPECT_THAT(result.reason, HasSubstr(reason)) << address;
  }
  EXPECT_FALSE(listener.contacted());
}

TEST(NodeEchoTarget, NodesMissingWhatAPeerNeedsAreNotAttempted) {
  struct Case {
    DicomNode node;
    std::string reason;
  };
  DicomNode blank;
  std::vector<Case> cases{
      {blank,
       "AE title is missing: set the peer's application entity title. Port is missing: set the peer's TCP port "
       "(usually 104 or 11112). Address is missing: set the peer's host name or IP address."},
      {node("10.0.0.5", "0", "ARCHIVE"), "Port \"0\" is not a number from 1 to 65535: correct it."},
      {node("10.0.0.5", "65536", "ARCHIVE"), "Port \"65536\" is not a number from 1 to 65535: correct it."},
      {node("10.0.0.5", "104 ", "ARCHIVE"), "Port \"104 \" is not a number from 1 to 65535: correct it."},
      {node("10.0.0.5", "-1", "ARCHIVE"), "Port \"-1\" is not a number from 1 to 65535: correct it."},
      {node("", "104", "ARCHIVE"), "Address is empty: set the peer's host name or IP address."},
      {node("10.0.0.5", "104", "A-TITLE-OF-17-CHR"), "AE title \"A-TITLE-OF-17-CHR\" is longer than 16 characters"},
  };
  for (const auto& c : cases) {
    const auto result = std::get<EchoResult>(echoTarget(c.node, options()));
    EXPECT_EQ(result.outcome, EchoOutcome::notAttempted) << c.reason;
    EXPECT_THAT(result.reason, HasSubstr(c.reason));
    // Probing gives the same without touching the network.
    EXPECT_EQ(echoNode(c.node, options()).reason, result.reason);
  }
}

TEST(NodeEchoTarget, AMissingWadoUrlDoesNotStopAnEcho) {
  DicomNode n = node("10.0.0.5", "104", "ARCHIVE");
  n.retrieveMode = RetrieveModeType::wado;
  EXPECT_TRUE(std::holds_alternative<EchoTarget>(echoTarget(n, options())));
}

TEST(NodeEchoTarget, TlsSettingsAndTrustCarryOver) {
  int lookups = 0;
  ProbeOptions o = options();
  o.certificateFor = [&](std::string_view) {
    ++lookups;
    return std::optional<CertificateFiles>();
  };
  const auto target = std::get<EchoTarget>(echoTarget(tlsNode(false), o));
  ASSERT_TRUE(target.tls.has_value());
  EXPECT_EQ(target.tls->securityProfile, TLSSecurityProfile::profile5);
  EXPECT_TRUE(target.tls->verifyPeerCertificate);
  EXPECT_EQ(target.tls->trustedCertificateFiles, o.trustedCertificateFiles);
  EXPECT_EQ(target.tls->trustedCertificateDirectories, o.trustedCertificateDirectories);
  EXPECT_FALSE(target.tls->clientCertificate.has_value());
  EXPECT_EQ(lookups, 0) << "a node that does not authenticate needs no certificate";
}

TEST(NodeEchoTarget, TheClientCertificateIsLookedUpUnderTheNodesCertificateId) {
  std::vector<std::string> asked;
  ProbeOptions o = options();
  o.certificateFor = [&](std::string_view id) {
    asked.emplace_back(id);
    return std::optional<CertificateFiles>({"/keys/archive.pem", "/keys/archive.key"});
  };
  const auto target = std::get<EchoTarget>(echoTarget(tlsNode(true), o));
  EXPECT_EQ(asked, std::vector<std::string>{"org.example.viewer.dicomtlsclient.10.0.0.5.2762.ARCHIVE"});
  ASSERT_TRUE(target.tls && target.tls->clientCertificate);
  EXPECT_EQ(target.tls->clientCertificate->certificateFile, "/keys/archive.pem");
  EXPECT_EQ(target.tls->clientCertificate->privateKeyFile, "/keys/archive.key");
}

TEST(NodeEchoTarget, AuthenticatingWithoutACertificateIsALocalProblem) {
  ProbeOptions o = options();
  o.certificateFor = [](std::string_view) { return std::optional<CertificateFiles>(); };
  for (const auto& lookup : {o.certificateFor, decltype(o.certificateFor)()}) {
    o.certificateFor = lookup;
    const auto result = std::get<EchoResult>(echoTarget(tlsNode(true), o));
    EXPECT_EQ(result.outcome, EchoOutcome::localSetupFailed);
    EXPECT_EQ(result.reason,
              "The node authenticates with a client certificate, but none is installed for "
              "\"org.example.viewer.dicomtlsclient.10.0.0.5.2762.ARCHIVE\": install one, or turn the node's "
              "certificate authentication off.");
  }
}

TEST(EchoNodesConcurrency, ResultsComeInTheOrderOfTheNodes) {
  if (findProgram("storescp").empty()) GTEST_SKIP() << "storescp is not installed";
  TempDir dir;
  ServerProcess scp({findProgram("storescp"), "-od", dir.path().string()}, dir / "storescp.log");
  ASSERT_TRUE(scp.ready());
  const std::string online = std::to_string(scp.port());
  const std::string closed = std::to_string(freePort());
  const std::vector<DicomNode> nodes{node("127.0.0.1", closed, "STORE"), node("127.0.0.1", online, "STORE"),
                                     DicomNode(), node("127.0.0.1", online, "STORE")};
  for (const unsigned jobs : {0u, 1u, 3u, 16u}) {
    const auto results = echoNodes(nodes, options(), jobs);
    ASSERT_EQ(results.size(), nodes.size());
    EXPECT_EQ(results[0].outcome, EchoOutcome::connectionRefused) << jobs;
    EXPECT_EQ(results[1].outcome, EchoOutcome::answered) << jobs;
    EXPECT_EQ(results[2].outcome, EchoOutcome::notAttempted) << jobs;
    EXPECT_EQ(results[3].outcome, EchoOutcome::answered) << jobs;
  }
  EXPECT_TRUE(echoNodes({}, options(), 4).empty());
}

TEST(EchoNodesConcurrency, SlowNodesAreWaitedForSideBySide) {
  std::vector<std::unique_ptr<SilentListener>> silent;
  std::vector<DicomNode> nodes;
  for (int i = 0; i < 4; ++i) {
    silent.push_back(std::make_unique<SilentListener>());
    nodes.push_back(node("127.0.0.1", std::to_string(silent.back()->port()), "SILENT"));
  }
  const auto start = std::chrono::steady_clock::now();
  const auto results = echoNodes(nodes, options(), 4);
  const auto elapsed = std::chrono::steady_clock::now() - start;
  for (const auto& result : results) EXPECT_EQ(result.outcome, EchoOutcome::timedOut) << result.reason;
  EXPECT_LT(elapsed, 2500ms) << "four 1 s timeouts one after the other would take 4 s";
}

TEST(EchoNodesConcurrency, StatusesAnsweredAtOnceKeepTheirOwnTexts) {
  // DCMTK formats an echo status it does not know into one static buffer.
  std::vector<std::unique_ptr<ScriptedScp>> scps;
  std::vector<DicomNode> nodes;
  for (std::uint16_t status = 0x0110; status < 0x0114; ++status) {
    ScriptedScp::Script script;
    script.echoStatus = status;
    scps.push_back(std::make_unique<ScriptedScp>(script));
    ASSERT_TRUE(scps.back()->ready());
    nodes.push_back(node("127.0.0.1", std::to_string(scps.back()->port()), "SCRIPTED"));
  }
  for (int round = 0; round < 5; ++round) {
    const auto results = echoNodes(nodes, options(), 4);
    for (std::size_t i = 0; i < results.size(); ++i) {
      EXPECT_EQ(results[i].outcome, EchoOutcome::echoFailed) << results[i].reason;
      // "status 0x0110 (Unknown Status: 0x110)": DCMTK's text in brackets names the same status.
      char ours[24], dcmtks[16];
      std::snprintf(ours, sizeof ours, "status 0x%04zX (", 0x0110 + i);
      std::snprintf(dcmtks, sizeof dcmtks, "0x%zx)", 0x0110 + i);
      EXPECT_THAT(results[i].reason, HasSubstr(ours));
      EXPECT_THAT(results[i].reason, HasSubstr(dcmtks));
    }
  }
}

TEST(ProbeStatus, AnsweredIsOnlineNothingLearntIsUnknownTheRestOffline) {
  EXPECT_EQ(toStatus({EchoOutcome::answered, ""}), DicomNodeStatus::accessable());
  for (const auto outcome : {EchoOutcome::notAttempted, EchoOutcome::localSetupFailed})
    EXPECT_EQ(toStatus({outcome, "why"}), DicomNodeStatus::unknown("why"));
  for (const auto outcome :
       {EchoOutcome::addressNotFound, EchoOutcome::connectionRefused, EchoOutcome::connectionFailed,
        EchoOutcome::timedOut, EchoOutcome::tlsHandshakeFailed, EchoOutcome::connectionClosed,
        EchoOutcome::associationRejected, EchoOutcome::verificationNotAccepted, EchoOutcome::echoFailed,
        EchoOutcome::protocolError})
    EXPECT_EQ(toStatus({outcome, "why"}), DicomNodeStatus::inaccessible("why"));
}

TEST(ProbeStatus, ProbeAllGivesEachNodesStatusInOrder) {
  if (findProgram("storescp").empty()) GTEST_SKIP() << "storescp is not installed";
  TempDir dir;
  ServerProcess scp({findProgram("storescp"), "-od", dir.path().string()}, dir / "storescp.log");
  ASSERT_TRUE(scp.ready());
  const std::uint16_t closed = freePort();
  const std::vector<DicomNode> nodes{node("127.0.0.1", std::to_string(scp.port()), "STORE"),
                                     node("127.0.0.1", std::to_string(closed), "STORE"),
                                     node("127.0.0.1", "0", "STORE")};
  const auto statuses = probeAll(nodes, options(), 2);
  ASSERT_EQ(statuses.size(), 3u);
  EXPECT_EQ(statuses[0], DicomNodeStatus::accessable());
  EXPECT_EQ(statuses[1].kind(), DicomNodeStatus::Kind::inaccessible);
  EXPECT_THAT(statuses[1].reason(), HasSubstr("127.0.0.1:" + std::to_string(closed) + " refused"));
  EXPECT_EQ(statuses[2], DicomNodeStatus::unknown("Port \"0\" is not a number from 1 to 65535: correct it."));
  EXPECT_EQ(probe(nodes[0], options()), statuses[0]);
}

}  // namespace
}  // namespace telvor::dcmtk

namespace telvor::dcmtk {
namespace {

// A WADO node whose DICOM port answers C-ECHO but whose web service is missing is offline:
// it is probed at its web service, never by C-ECHO.
TEST(ProbeDispatch, WadoNodesAreProbedAtTheirWebServiceNotTheirDicomPort) {
  if (findProgram("storescp").empty()) GTEST_SKIP() << "storescp is not installed";
  TempDir dir;
  ServerProcess scp({findProgram("storescp"), "-od", dir.path().string()}, dir / "storescp.log");
  ASSERT_TRUE(scp.ready());
  DicomNode web = node("127.0.0.1", std::to_string(scp.port()), "STORESCP");
  web.retrieveMode = RetrieveModeType::wado;
  web.wadoSettings.url = "/dicom-web";
  web.wadoSettings.port = freePort();
  DicomNode noUrl = web;
  noUrl.wadoSettings.url.reset();
  DicomNode dicom = web;
  dicom.retrieveMode = RetrieveModeType::cmove;
  ProbeOptions o = options();
  o.checkFind = true;
  o.checkRetrieve = true;
  const auto results = echoNodes(std::vector<DicomNode>{web, noUrl, dicom}, o, 3);
#ifdef TELVOR_DCMTK_TESTS_WEB
  EXPECT_EQ(results[0].outcome, EchoOutcome::connectionRefused) << results[0].reason;
  EXPECT_THAT(results[0].reason, HasSubstr("http://127.0.0.1:" + std::to_string(*web.wadoSettings.port) + "/dicom-web"));
  EXPECT_THAT(results[1].reason, HasSubstr("no WADO URL"));
#else
  EXPECT_THAT(results[0].reason, HasSubstr("cannot probe web services"));
#endif
  EXPECT_EQ(toStatus(results[1]).title(), "unknown");
  EXPECT_FALSE(results[0].query || results[0].retrieve);
  EXPECT_EQ(results[2].outcome, EchoOutcome::answered) << results[2].reason;
  EXPECT_TRUE(results[2].query && results[2].retrieve);
}

}  // namespace
}  // namespace telvor::dcmtk
