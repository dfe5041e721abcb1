#include "telvor/peers/orthanc.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/capture.hpp"
#include "support/peer_nodes.hpp"

namespace telvor::peers {
namespace {

using testing_support::capture;
using testing_support::peerNode;

std::string config(const std::string& modalities) { return "{ \"DicomModalities\" : { " + modalities + " } }"; }

struct Damaged {
  const char* text;
  const char* place;    // PeerFormatError::place()
  const char* message;  // part of what()
};

TEST(OrthancImport, DamagedInputNamesThePlace) {
  const Damaged cases[] = {
      {"{ \"DicomModalities\" : {\n  \"a\" : [\"X\", \"h\", 104]\n", "line 3, column 1", "not JSON"},
      {"{\n  \"DicomModalities\" : { \"a\" : [\"X\", \"h\", 104] # }\n}", "line 2, column 47", "not JSON"},
      {"{\n  /* never closed\n  \"DicomModalities\" : {} }", "line 2, column 3", "never closed"},
      {"{ \"DicomModalities\" : {} } /", "line 1, column 28", "not JSON"},
      {"[1, 2]", "line 1", "not an object"},
      {"{ \"Name\" : \"MyOrthanc\", \"HttpPort\" : 8042 }", "line 1", "neither"},
      {"{ \"DicomModalities\" : [] }", "DicomModalities", "must be an object"},
      {R"({ "DicomModalities" : { "a" : ["X", "h", 104], "b" : ["X", "h"] } })", "modality 2 \"b\"", "[AET, Host, Port]"},
      {R"({ "DicomModalities" : { "a" : 104 } })", "modality 1 \"a\"", "an array or an object"},
      {R"({ "DicomModalities" : { "a" : ["X", "h", 0] } })", "modality 1 \"a\"", "outside 1-65534"},
      {R"({ "DicomModalities" : { "a" : ["X", "h", 65535] } })", "modality 1 \"a\"", "outside 1-65534"},
      {R"({ "DicomModalities" : { "a" : ["X", "h", "104a"] } })", "modality 1 \"a\"", "\"104a\" is not a port"},
      {R"({ "DicomModalities" : { "a" : ["X", "h", 104.0] } })", "modality 1 \"a\"", "whole number"},
      {R"({ "DicomModalities" : { "a" : [104, "h", 104] } })", "modality 1 \"a\"", "AET must be a string"},
      {R"({ "DicomModalities" : { "a" : { "AET" : "X", "Port" : 104 } } })", "modality 1 \"a\"", "no Host"},
      {R"({ "DicomModalities" : { "a" : { "AET" : "X", "Host" : "h", "Port" : 1, "UseDicomTls" : "true" } } })",
       "modality 1 \"a\"", "UseDicomTls must be true or false"},
      {R"({ "DicomModalities" : { "a" : { "AET" : "X", "Host" : "h", "Port" : 1, "Timeout" : -1 } } })",
       "modality 1 \"a\"", "Timeout must be a whole number"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const auto e = capture<PeerFormatError>([&] { importOrthanc(c.text); });
    EXPECT_EQ(e.place(), c.place) << c.text;
    EXPECT_NE(std::string(e.what()).find(c.message), std::string::npos) << e.what();
  }
}

TEST(OrthancImport, ReadsBothFormsAndBothShapesCarryingTextAsWritten) {
  const auto fromConfig = importOrthanc(R"({
    // Orthanc's own comment styles
    "DicomModalities" : {
      "ct_room2" : [ "CT2_SCU", "10.1.4.22", 104 ],
      /* the archive */
      "archive"  : { "AET" : " lta_main ", "Host" : "lta.hospital.lan ", "Port" : "011112", "UseDicomTls" : true,
                     "RetrieveMethod" : "C-GET" } } })");
  ASSERT_EQ(fromConfig.nodes.size(), 2u);
  EXPECT_TRUE(fromConfig.losses.empty());
  const DicomNode& ct = fromConfig.nodes[0];
  EXPECT_EQ(ct.name, "ct_room2");
  EXPECT_EQ(ct.port, "104");
  EXPECT_EQ(ct.retrieveMode, RetrieveModeType::cmove);
  EXPECT_FALSE(ct.tlsSettings->isEnabled);
  const DicomNode& archive = fromConfig.nodes[1];
  EXPECT_EQ(archive.aetitle, " lta_main ");
  EXPECT_EQ(archive.address, "lta.hospital.lan ");
  EXPECT_EQ(archive.port, "011112");
  EXPECT_TRUE(archive.tlsSettings->isEnabled);
  EXPECT_EQ(archive.retrieveMode, RetrieveModeType::cget);

  EXPECT_TRUE(importOrthanc("{}").nodes.empty());  // GET /modalities?expand of an Orthanc without peers
  const auto expanded = importOrthanc(R"({ "pacs" : { "AET" : "PACS", "Host" : "10.0.0.1", "Port" : 104 } })");
  ASSERT_EQ(expanded.nodes.size(), 1u);
  EXPECT_EQ(expanded.nodes[0].name, "pacs");
}

// Orthanc's shipped configuration ends every block comment in "**/"; text inside strings
// is never a comment.
TEST(OrthancImport, CommentsAsOrthancReadsThem) {
  const char* cases[] = {
      "/**\n * Network topology\n **/\n{ \"DicomModalities\" : { \"a\" : [\"A//B\", \"h/*x*/\", 104] } }",
      "{ /* one */ /***/ \"DicomModalities\" /** two **/ : { \"a\" : [\"A//B\", \"h/*x*/\", 104] } } // end",
      "{ \"DicomModalities\" : { // \"b\" : [\"B\", \"h\", 1]\n \"a\" : [\"A//B\", \"h/*x*/\", 104 /* \" */] } }",
      "{ \"DicomModalities\" : { \"a\" : [\"A//B\", \"h/*x*/\", 104] }, \"Name\" : \"say \\\"/*\\\"\" }",
  };
  for (const char* text : cases) {
    SCOPED_TRACE(text);
    const auto list = importOrthanc(text);
    ASSERT_EQ(list.nodes.size(), 1u);
    EXPECT_EQ(list.nodes[0].aetitle, "A//B");
    EXPECT_EQ(list.nodes[0].address, "h/*x*/");
  }
}

struct ImportLoss {
  const char* keys;   // added to an object-form modality
  const char* field;  // the loss expected, or "" for none
  const char* lost;
};

TEST(OrthancImport, ReportsOnlyValuesThatDifferFromOrthancsDefaults) {
  const ImportLoss cases[] = {
      // GET /modalities?expand lists every key; at Orthanc's defaults none is a loss.
      {R"("AllowEcho" : true, "AllowFind" : true, "AllowFindWorklist" : true, "AllowGet" : true, "AllowMove" : true,
          "AllowStore" : true, "AllowNAction" : true, "AllowEventReport" : true, "AllowTranscoding" : true,
          "LocalAet" : "", "Manufacturer" : "Generic", "Timeout" : 0, "UseDicomTls" : false)",
       "", ""},
      {R"("AllowFind" : false)", "AllowFind", "false"},
      {R"("AllowStorageCommitment" : false)", "AllowStorageCommitment", "false"},
      {R"("LocalAet" : "READER7")", "LocalAet", "\"READER7\""},
      {R"("Timeout" : 20)", "Timeout", "20 s"},
      {R"("Manufacturer" : "GE")", "Manufacturer", "\"GE\""},
      {R"("RetrieveMethod" : "SystemDefault")", "RetrieveMethod", "\"SystemDefault\""},
      {R"("Comment" : [1, 2])", "Comment", "[1,2]"},
  };
  for (const auto& c : cases) {
    const auto list = importOrthanc(config(std::string(R"("pacs" : { "AET" : "P", "Host" : "h", "Port" : 104, )") +
                                           c.keys + " }"));
    ASSERT_EQ(list.nodes.size(), 1u) << c.keys;
    if (*c.field == '\0') {
      EXPECT_TRUE(list.losses.empty()) << describe(list.losses.front());
      continue;
    }
    ASSERT_EQ(list.losses.size(), 1u) << c.keys;
    EXPECT_EQ(list.losses[0].position, 1u);
    EXPECT_EQ(list.losses[0].label, "pacs");
    EXPECT_EQ(list.losses[0].field, c.field);
    EXPECT_EQ(list.losses[0].lost, c.lost);
  }
  // The array form's manufacturer too.
  EXPECT_EQ(importOrthanc(config(R"("a" : ["A", "h", 1, "Vitrea"])")).losses.at(0).field, "Manufacturer");
}

TEST(OrthancExport, RoundTripsWhatOrthancHoldsAndReportsTheRest) {
  std::vector<DicomNode> nodes{peerNode("ct_room2", "CT2_SCU", "10.1.4.22", "104"),
                               peerNode("archive", "LTA_MAIN", "lta.hospital.lan", "11112")};
  nodes[0].retrieveMode = RetrieveModeType::cmove;
  nodes[1].retrieveMode = RetrieveModeType::cmove;
  nodes[1].tlsSettings->isEnabled = true;
  const auto out = exportOrthanc(nodes);
  EXPECT_TRUE(out.losses.empty()) << describe(out.losses.front());
  const auto back = importOrthanc(out.text);
  ASSERT_EQ(back.nodes.size(), 2u);
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    DicomNode expected = nodes[i];
    expected.uniqueId = back.nodes[i].uniqueId;
    EXPECT_EQ(back.nodes[i], expected) << i;
  }
}

struct ExportLoss {
  DicomNode node;
  const char* field;
  const char* lost;
  const char* chosen;
};

TEST(OrthancExport, EachFieldOrthancCannotHoldIsOneLoss) {
  auto with = [](auto change) {
    DicomNode node = peerNode("pacs", "PACS", "10.0.0.1", "104");
    node.retrieveMode = RetrieveModeType::cmove;
    change(node);
    return node;
  };
  const ExportLoss cases[] = {
      {with([](DicomNode& n) { n.name = "Main archive"; }), "name", "\"Main archive\"", "reads back as \"Main_archive\""},
      {with([](DicomNode& n) { n.name.reset(); }), "name", "absent", "reads back as \"PACS\""},
      {with([](DicomNode& n) { n.port = "0104"; }), "port", "\"0104\"", "reads back as \"104\""},
      {with([](DicomNode& n) { n.retrieveMode = RetrieveModeType::cget; }), "retrieveMode", "CGET", "reads back as CMOVE"},
      {with([](DicomNode& n) { n.transferSyntax = TransferSyntax::EXS_JPEGProcess1; }), "transferSyntax",
       "JPEG Baseline (lossy)", "reads back as Explicit VR Little Endian"},
      {with([](DicomNode& n) { n.isQueryable = false; }), "isQueryable", "false", "reads back as absent"},
      {with([](DicomNode& n) { n.icon = "pacs"; }), "icon", "\"pacs\"", "reads back as absent"},
      {with([](DicomNode& n) { n.wadoSettings.password = "s3cret"; }), "wadoSettings.password", "(set, not shown)",
       "not written"},
      {with([](DicomNode& n) { n.tlsSettings->verifyPeerCertificate = true; }), "tlsSettings.verifyPeerCertificate",
       "true", "reads back as false"},
      {with([](DicomNode& n) { n.tlsSettings.reset(); }), "tlsSettings", "absent",
       "reads back as the default TLS settings"},
  };
  for (const auto& c : cases) {
    const auto out = exportOrthanc(std::vector{c.node});
    ASSERT_EQ(out.losses.size(), 1u) << c.field << ": " << (out.losses.empty() ? "" : describe(out.losses[0]));
    EXPECT_EQ(out.losses[0].field, c.field);
    EXPECT_EQ(out.losses[0].lost, c.lost);
    EXPECT_EQ(out.losses[0].chosen, c.chosen);
    EXPECT_EQ(out.text.find("s3cret"), std::string::npos);
  }
}

TEST(OrthancExport, NamesAreMadeUniqueAndUnwritableNodesAreErrorsNamingThem) {
  std::vector<DicomNode> same{peerNode("pacs", "A", "h", "1"), peerNode("pacs", "B", "h", "2")};
  for (auto& node : same) node.retrieveMode = RetrieveModeType::cmove;
  const auto twice = exportOrthanc(same);
  EXPECT_EQ(importOrthanc(twice.text).nodes.at(1).name, "pacs-2");
  ASSERT_EQ(twice.losses.size(), 1u);
  EXPECT_EQ(describe(twice.losses[0]), "node 2 \"pacs\": name: \"pacs\" -> reads back as \"pacs-2\"");

  const DicomNode refused[] = {peerNode("a", "", "h", "104"),  peerNode("a", "A", "", "104"),   peerNode("a", "A", "h", "0"),
                               peerNode("a", "A", "h", "65535"), peerNode("a", "A", "h", " 104"), peerNode("a", "\xff", "h", "104")};
  for (const auto& node : refused) {
    const std::vector<DicomNode> nodes{peerNode("ok", "OK", "h", "104"), node};
    SCOPED_TRACE(*node.aetitle + " " + *node.address + " " + *node.port);
    const auto e = capture<PeerFormatError>([&] { exportOrthanc(nodes); });
    EXPECT_EQ(e.place(), "node 2 \"a\"");
  }
}

}  // namespace
}  // namespace telvor::peers
