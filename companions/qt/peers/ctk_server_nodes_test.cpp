#include "telvor/qt/ctk_server_nodes.hpp"

#include <gtest/gtest.h>

#include <span>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace telvor::qt {
namespace {

using peers::describe;

std::vector<std::string> described(const std::vector<peers::PeerLoss>& losses) {
  std::vector<std::string> lines;
  for (const auto& loss : losses) lines.push_back(describe(loss));
  return lines;
}

// What CTK carries of a node.
auto carried(const DicomNode& n) { return std::tuple(n.name, n.aetitle, n.address, n.port, n.retrieveMode, n.isQueryable); }

DicomNode node(const char* name, const char* aetitle, const char* address, const char* port,
               RetrieveModeType mode = RetrieveModeType::cget, std::optional<bool> queryable = std::nullopt) {
  DicomNode n;
  if (name) n.name = name;
  n.aetitle = aetitle;
  n.address = address;
  n.port = port;
  n.retrieveMode = mode;
  n.isQueryable = queryable;
  return n;
}

// The newer layout as CTK writes it (QJsonDocument's indented text in a byte array).
constexpr const char* kNewer = R"ini([DICOM]
ServerNodeCount=3
ServerNodes\0="@ByteArray({\n    \"Address\": \"lta.hospital.lan\",\n    \"Called AETitle\": \"LTA_MAIN\",\n    \"Name\": \"Archive\",\n    \"Port\": \"11112\",\n    \"QueryRetrieveCheckState\": 2,\n    \"Retrieve Protocol\": \"CMOVE\"\n}\n)"
ServerNodes\1="@ByteArray({\"Address\": \"10.1.4.22\", \"Called AETitle\": \"ct2_scu\", \"Calling AETitle\": \"SLICER\", \"Colour\": \"red\", \"Name\": \" CT \xc3\xa9\", \"Port\": \"104\", \"QueryRetrieveCheckState\": 0, \"Retrieve Protocol\": \"CGET\", \"Retrieve Proxy\": \"Archive\", \"Storage\": \"\", \"StorageCheckState\": 2, \"Timeout\": 30, \"TrustedCheckState\": 0})"
ServerNodes\2="@ByteArray({\"Address\": \"h\", \"Called AETitle\": \"OTHER\", \"Name\": \"Archive\", \"Port\": \"1\"})"
StorageAETitle=SLICER
)ini";

TEST(CtkImport, ReadsTheNewerLayoutAsWrittenAndReportsWhatHasNoField) {
  const auto list = importCtkServerNodes(kNewer);
  ASSERT_EQ(list.nodes.size(), 2u);
  EXPECT_EQ(carried(list.nodes[0]), carried(node("Archive", "LTA_MAIN", "lta.hospital.lan", "11112", RetrieveModeType::cmove, true)));
  // As written: not trimmed, UTF-8 kept, not re-cased.
  EXPECT_EQ(carried(list.nodes[1]), carried(node(" CT \xc3\xa9", "ct2_scu", "10.1.4.22", "104", RetrieveModeType::cget, false)));
  const std::vector<std::string> expected{
      "node 2 \" CT \xc3\xa9\": Calling AETitle: \"SLICER\" -> not kept (no field for it)",
      "node 2 \" CT \xc3\xa9\": Colour: \"red\" -> not kept (no field for it)",
      "node 2 \" CT \xc3\xa9\": Retrieve Proxy: \"Archive\" -> not kept (no field for it)",
      "node 2 \" CT \xc3\xa9\": StorageCheckState: 2 -> not kept (no field for it)",
      "node 2 \" CT \xc3\xa9\": Timeout: 30 -> not kept (no field for it)",
      "node 3 \"Archive\": node: Name \"Archive\" again -> skipped (CTK keeps the first node of a name)",
  };
  EXPECT_EQ(described(list.losses), expected);
}

// The map layouts of earlier versions, as QSettings writes a QVariantMap: a big-endian
// QDataStream (type, then data; in Qt 4.0's version, so without null flags) in INI escapes.
constexpr const char* kClassic = R"ini([General]
ServerNodeCount=1
CallingAETitle=SLICER
[ServerNodes]
0=@Variant(\0\0\0\b\0\0\0\x6\0\0\0\xe\0\x41\0\x45\0T\0i\0t\0l\0\x65\0\0\0\n\0\0\0\x10\0L\0T\0\x41\0_\0M\0\x41\0I\0N\0\0\0\xe\0\x41\0\x64\0\x64\0r\0\x65\0s\0s\0\0\0\n\0\0\0\x6\0l\0t\0\x61\0\0\0\b\0\x43\0G\0\x45\0T\0\0\0\x2\0\0\0\0\0\0\0\x14\0\x43\0h\0\x65\0\x63\0k\0S\0t\0\x61\0t\0\x65\0\0\0\x2\0\0\0\x2\0\0\0\b\0N\0\x61\0m\0\x65\0\0\0\n\0\0\0\xe\0\x41\0r\0\x63\0h\0i\0v\0\x65\0\0\0\b\0P\0o\0r\0t\0\0\0\n\0\0\0\n\0\x31\0\x31\0\x31\0\x31\0\x32)
)ini";
constexpr const char* kNewerMap = R"ini([DICOM]
ServerNodeCount=1
ServerNodes\0=@Variant(\0\0\0\b\0\0\0\b\0\0\0\xe\0\x41\0\x64\0\x64\0r\0\x65\0s\0s\0\0\0\n\0\0\0\x6\0l\0t\0\x61\0\0\0\x1c\0\x43\0\x61\0l\0l\0\x65\0\x64\0 \0\x41\0\x45\0T\0i\0t\0l\0\x65\0\0\0\n\0\0\0\x10\0L\0T\0\x41\0_\0M\0\x41\0I\0N\0\0\0\b\0N\0\x61\0m\0\x65\0\0\0\n\0\0\0\xe\0\x41\0r\0\x63\0h\0i\0v\0\x65\0\0\0\b\0P\0o\0r\0t\0\0\0\n\0\0\0\n\0\x31\0\x31\0\x31\0\x31\0\x32\0\0\0\x10\0P\0r\0o\0t\0o\0\x63\0o\0l\0\0\0\n\0\0\0\n\0\x43\0M\0O\0V\0\x45\0\0\0\n\0P\0r\0o\0x\0y\0\0\0\n\0\0\0\0\0\0\0.\0Q\0u\0\x65\0r\0y\0R\0\x65\0t\0r\0i\0\x65\0v\0\x65\0\x43\0h\0\x65\0\x63\0k\0S\0t\0\x61\0t\0\x65\0\0\0\x2\0\0\0\x2\0\0\0\xe\0T\0i\0m\0\x65\0o\0u\0t\0\0\0\x2\0\0\0\n)
)ini";

TEST(CtkImport, ReadsTheMapLayoutsOfEarlierVersions) {
  for (const char* text : {kClassic, kNewerMap}) {
    const auto list = importCtkServerNodes(text);
    ASSERT_EQ(list.nodes.size(), 1u) << text;
    EXPECT_EQ(carried(list.nodes[0]), carried(node("Archive", "LTA_MAIN", "lta", "11112", RetrieveModeType::cmove, true)));
    EXPECT_TRUE(list.losses.empty()) << described(list.losses)[0];
  }
  // Both lists in one file: the newer is read, the classic one reported.
  const auto both = importCtkServerNodes(std::string(kClassic) + kNewerMap);
  EXPECT_EQ(both.nodes.size(), 1u);
  ASSERT_EQ(both.losses.size(), 1u);
  EXPECT_EQ(both.losses[0].chosen, "skipped (the DICOM/ServerNodes list is read)");
}

TEST(CtkImport, DamagedInputNamesTheKey) {
  const std::pair<const char*, const char*> cases[] = {
      {"[DICOM\nServerNodeCount=1\n", "the settings file: QSettings cannot read it"},
      {"[DICOM]\nServerNodeCount=two\n", "key DICOM/ServerNodeCount: \"two\" is not a number"},
      {"[DICOM]\nServerNodeCount=2\nServerNodes\\0=\"@ByteArray({\\\"Called AETitle\\\": \\\"A\\\"})\"\n",
       "key DICOM/ServerNodes/1: missing"},
      {"[DICOM]\nServerNodeCount=1\nServerNodes\\0=\"@ByteArray({\\\"Name\\\": )\"\n", "key DICOM/ServerNodes/0: not JSON"},
      {"[DICOM]\nServerNodeCount=1\nServerNodes\\0=@ByteArray([1])\n", "key DICOM/ServerNodes/0: not a JSON object"},
      {"[DICOM]\nServerNodeCount=1\nServerNodes\\0=@Variant(\\0\\0\\0\\x7f)\n", "key DICOM/ServerNodes/0: not a server node"},
      {"[DICOM]\nServerNodeCount=1\nServerNodes\\0=\"@ByteArray({\\\"Name\\\": \\\"x\\\"})\"\n",
       "key DICOM/ServerNodes/0: no AE title"},
  };
  for (const auto& [text, message] : cases) {
    try {
      importCtkServerNodes(text);
      ADD_FAILURE() << "accepted: " << text;
    } catch (const peers::PeerFormatError& e) {
      EXPECT_NE(std::string(e.what()).find(message), std::string::npos) << e.what();
    }
  }
}

TEST(CtkExport, RoundTripsWhatCtkHoldsAndReportsTheRest) {
  std::vector<DicomNode> nodes{node("Archive", "LTA", "h", "11112", RetrieveModeType::cmove, true),
                               node("Archive", "LTA2", "h", "104", RetrieveModeType::cget, false),
                               node(nullptr, "ANON", "h", "4242"),
                               node("Web \xc3\xa9", "WEB", "h", "8080", RetrieveModeType::wado, true)};
  nodes[3].transferSyntax = TransferSyntax::EXS_JPEGProcess1;
  nodes[3].icon = "globe";
  nodes[3].tlsSettings->isEnabled = true;

  const auto out = exportCtkServerNodes(nodes);
  EXPECT_NE(out.text.find("[DICOM]\nServerNodeCount=4\nServerNodes\\0=\"@ByteArray({"), std::string::npos) << out.text;
  const std::vector<std::string> expected{
      "node 2 \"Archive\": name: \"Archive\" -> reads back as \"Archive-2\"",
      "node 3 \"ANON\": name: absent -> reads back as \"ANON\"",
      "node 3 \"ANON\": isQueryable: absent -> reads back as true",
      "node 4 \"Web \xc3\xa9\": transferSyntax: JPEG Baseline (lossy) -> reads back as Explicit VR Little Endian",
      "node 4 \"Web \xc3\xa9\": retrieveMode: WADO -> reads back as CGET",
      "node 4 \"Web \xc3\xa9\": icon: \"globe\" -> reads back as absent",
      "node 4 \"Web \xc3\xa9\": tlsSettings.isEnabled: true -> reads back as false",
  };
  EXPECT_EQ(described(out.losses), expected);

  const auto back = importCtkServerNodes(out.text);
  EXPECT_TRUE(back.losses.empty()) << described(back.losses)[0];
  ASSERT_EQ(back.nodes.size(), nodes.size());
  const std::vector<DicomNode> readBack{node("Archive", "LTA", "h", "11112", RetrieveModeType::cmove, true),
                                        node("Archive-2", "LTA2", "h", "104", RetrieveModeType::cget, false),
                                        node("ANON", "ANON", "h", "4242", RetrieveModeType::cget, true),
                                        node("Web \xc3\xa9", "WEB", "h", "8080", RetrieveModeType::cget, true)};
  for (std::size_t i = 0; i < nodes.size(); ++i) EXPECT_EQ(carried(back.nodes[i]), carried(readBack[i])) << i;
}

TEST(CtkExport, RefusesNodesCtkCannotHoldNamingThem) {
  const std::pair<DicomNode, const char*> cases[] = {
      {node("a", "", "h", "1"), "node 1 \"a\": no AE title"},
      {node("a", "A", "", "1"), "node 1 \"a\": no address"},
      {node("a", "A", "h", "0"), "node 1 \"a\": port \"0\" is not a number in 1-65535"},
      {node("a", "A", "h", "1O4"), "node 1 \"a\": port \"1O4\""},
      {node("a\xff", "A", "h", "104"), "the name is not UTF-8"},
  };
  for (const auto& [given, message] : cases) {
    try {
      exportCtkServerNodes(std::span(&given, 1));
      ADD_FAILURE() << "written: " << message;
    } catch (const peers::PeerFormatError& e) {
      EXPECT_NE(std::string(e.what()).find(message), std::string::npos) << e.what();
    }
  }
}

TEST(CtkExport, IntoAnExistingFileReplacesOnlyTheServerNodes) {
  const std::string existing = std::string(kNewer) +
                               "[General]\nlanguage=de_DE\n[Python]\nConsoleFont=\"Monospace,10\"\n"
                               "[DICOM]\nStoragePort=11113\nServerNodes\\7=stale\n";
  const DicomNode one = node("Only", "ONLY", "h", "11112");
  const auto out = exportCtkServerNodes(std::span(&one, 1), existing);
  const auto back = importCtkServerNodes(out.text);
  ASSERT_EQ(back.nodes.size(), 1u);
  EXPECT_EQ(back.nodes[0].name, "Only");
  for (const char* kept : {"language=de_DE", "ConsoleFont=\"Monospace,10\"", "StoragePort=11113", "StorageAETitle=SLICER"})
    EXPECT_NE(out.text.find(kept), std::string::npos) << kept << " in\n" << out.text;
  EXPECT_EQ(out.text.find("stale"), std::string::npos) << out.text;
}

}  // namespace
}  // namespace telvor::qt
