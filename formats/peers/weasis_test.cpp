#include "telvor/peers/weasis.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/capture.hpp"
#include "support/peer_nodes.hpp"

namespace telvor::peers {
namespace {

using testing_support::capture;
using testing_support::peerNode;

// The two shapes Weasis writes: its DICOM node file and its web node file.
constexpr const char* kDicomNodes = R"(<?xml version="1.0" encoding="UTF-8"?>
<nodes><node description="Archive" type="DICOM" usageType="BOTH" tsuid="EXPLICIT_VR_LE"
  aeTitle="LTA_MAIN" hostname="lta.hospital.lan" port="11112"></node>
<node description=" Modality  " type="DICOM" usageType="STORAGE" tsuid="JPEG_LOSSY_8"
  aeTitle="ct2_scu" hostname="10.1.4.22" port="104"/>
<node description="Local" type="DICOM_CALLING" usageType="BOTH" tsuid="NONE" aeTitle="WEASIS" hostname="localhost" port="11113"/>
</nodes>
)";
constexpr const char* kWebNodes = R"(<?xml version="1.0" encoding="UTF-8"?>
<nodes>
<node description="Archive web" type="WEB" usageType="RETRIEVE" tsuid="NONE" url="https://lta.hospital.lan:8443/wado"
  webtype="WADO" auth="5aa85854-8f1f-11eb-b339-d3daace59a05" headers=""></node>
</nodes>)";

TEST(WeasisImport, ReadsDicomNodesAsWrittenAndSaysWhyOthersAreSkipped) {
  const auto list = importWeasis(kDicomNodes);
  ASSERT_EQ(list.nodes.size(), 2u);
  const DicomNode& archive = list.nodes[0];
  EXPECT_EQ(archive.name, "Archive");
  EXPECT_EQ(archive.aetitle, "LTA_MAIN");
  EXPECT_EQ(archive.address, "lta.hospital.lan");
  EXPECT_EQ(archive.port, "11112");
  EXPECT_EQ(archive.transferSyntax, TransferSyntax::EXS_LittleEndianExplicit);
  EXPECT_EQ(archive.isQueryable, true);
  const DicomNode& modality = list.nodes[1];
  EXPECT_EQ(modality.name, " Modality  ");  // not trimmed
  EXPECT_EQ(modality.aetitle, "ct2_scu");   // not re-cased
  EXPECT_EQ(modality.transferSyntax, TransferSyntax::EXS_JPEGProcess1);
  EXPECT_EQ(modality.isQueryable, false);
  ASSERT_EQ(list.losses.size(), 1u);
  EXPECT_EQ(describe(list.losses[0]), "node 3 \"Local\": node: type \"DICOM_CALLING\" -> skipped (a local AE title, not a peer)");

  const auto web = importWeasis(kWebNodes);
  EXPECT_TRUE(web.nodes.empty());
  ASSERT_EQ(web.losses.size(), 1u);
  EXPECT_EQ(web.losses[0].chosen, "skipped (a web service without a DICOM peer)");
}

struct Loss {
  const char* attributes;
  const char* field;
  const char* lost;
};

TEST(WeasisImport, ValuesWithoutAFieldAreLosses) {
  const Loss cases[] = {
      {R"(tsuid="JPEGXL")", "tsuid", "\"JPEGXL\""},
      {R"(tsuid="RFC")", "tsuid", "\"RFC\""},
      {R"(usageType="SOMETIMES")", "usageType", "\"SOMETIMES\""},
      {R"(color="red")", "color", "\"red\""},
  };
  for (const auto& c : cases) {
    const auto list = importWeasis(std::string(R"(<nodes><node type="DICOM" aeTitle="A" hostname="h" port="1" )") +
                                   c.attributes + "/></nodes>");
    ASSERT_EQ(list.nodes.size(), 1u);
    ASSERT_EQ(list.losses.size(), 1u) << c.attributes;
    EXPECT_EQ(list.losses[0].field, c.field);
    EXPECT_EQ(list.losses[0].lost, c.lost);
  }
}

TEST(WeasisImport, DamagedInputNamesTheLine) {
  const std::pair<const char*, const char*> cases[] = {
      {"<nodes>\n<node type=\"DICOM\" aeTitle=\"A\n</nodes>", "line 2"},
      {"<nodes>\n<node>\n</nodes>", "line 3"},
      {"", "line 1"},
      {"<?xml version=\"1.0\"?>\n<list><node/></list>", "line 1"},
  };
  for (const auto& [text, line] : cases) {
    SCOPED_TRACE(text);
    const auto e = capture<PeerFormatError>([&text = text] { importWeasis(text); });
    EXPECT_EQ(e.place().rfind(line, 0), 0u) << e.what();
  }
}

DicomNode peer(const char* name, const char* aet, const char* port) {
  DicomNode node = peerNode(name, aet, "10.0.0.1", port);
  node.isQueryable = true;  // what Weasis's usage types read back as
  return node;
}

TEST(WeasisExport, EverySyntaxWithAWeasisNameRoundTripsAndTheOthersAreLosses) {
  std::size_t named = 0;
  for (const TransferSyntax syntax : allCases<TransferSyntax>()) {
    DicomNode node = peer("n", "N", "104");
    node.transferSyntax = syntax;
    const auto out = exportWeasis(std::vector{node});
    const auto back = importWeasis(out.text);
    ASSERT_EQ(back.nodes.size(), 1u);
    if (out.losses.empty()) {
      ++named;
      node.uniqueId = back.nodes[0].uniqueId;
      EXPECT_EQ(back.nodes[0], node) << title(syntax);
    } else {
      EXPECT_EQ(out.losses[0].field, "transferSyntax");
      EXPECT_EQ(back.nodes[0].transferSyntax, TransferSyntax::EXS_LittleEndianExplicit);
    }
  }
  EXPECT_EQ(named, 21u);  // the rows of Weasis's list
}

TEST(WeasisExport, ReportsWhatWeasisDoesNotSaveAndRefusesNodesItWouldSkip) {
  DicomNode node = peer("A & B <\"quoted\">", "LTA", "11112");
  node.retrieveMode = RetrieveModeType::wado;
  node.wadoSettings.url = "https://lta/wado";
  node.tlsSettings->isEnabled = true;
  node.isQueryable.reset();
  const auto out = exportWeasis(std::vector{node});
  std::vector<std::string> fields;
  for (const auto& loss : out.losses) fields.push_back(loss.field);
  EXPECT_EQ(fields, (std::vector<std::string>{"retrieveMode", "isQueryable", "wadoSettings.url", "tlsSettings.isEnabled"}));
  EXPECT_EQ(importWeasis(out.text).nodes.at(0).name, "A & B <\"quoted\">");

  const DicomNode refused[] = {peer("a", "", "104"), peer("a", "SEVENTEEN_CHARS_X", "104"), peer("a", "A", "65536"),
                               peer("a", "A", "x"), peer("a\x01", "A", "104")};
  for (const auto& bad : refused) {
    SCOPED_TRACE(*bad.aetitle + " " + *bad.port);
    const auto e = capture<PeerFormatError>([&] { exportWeasis(std::vector{peer("ok", "OK", "1"), bad}); });
    EXPECT_EQ(e.place().rfind("node 2", 0), 0u) << e.what();
  }
  EXPECT_NO_THROW(exportWeasis(std::vector{peer("a", "SIXTEEN_CHARS_AE", "65535")}));
}

}  // namespace
}  // namespace telvor::peers
