#include "telvor/qt/ctk_server_nodes.hpp"

#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <cstdio>
#include <span>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <variant>
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

// QSettings' INI text of a QVariantMap of texts and ints, made without QSettings: a
// big-endian QDataStream of Qt 4.0's version (type, then data; no null flags), escaped as
// QSettings escapes: C escapes, \x for other control bytes, and a hex digit right after
// an escape escaped too.
std::string variantMapIni(const std::vector<std::pair<std::string, std::variant<std::string, int>>>& map) {
  std::string bytes;
  auto u32 = [&](std::uint32_t v) {
    for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>((v >> shift) & 0xFF);
  };
  auto utf16 = [&](const std::string& ascii) {
    u32(static_cast<std::uint32_t>(ascii.size() * 2));
    for (char c : ascii) bytes += {'\0', c};
  };
  u32(8);  // QVariantMap
  u32(static_cast<std::uint32_t>(map.size()));
  for (const auto& [key, value] : map) {
    utf16(key);
    if (const auto* text = std::get_if<std::string>(&value)) {
      u32(10);
      utf16(*text);
    } else {
      u32(2);
      u32(static_cast<std::uint32_t>(std::get<int>(value)));
    }
  }
  std::string out = "@Variant(";
  bool afterEscape = false;
  for (unsigned char c : bytes) {
    static constexpr std::pair<unsigned char, char> kCEscapes[] = {{0, '0'},  {7, 'a'},  {8, 'b'},  {9, 't'},
                                                                   {10, 'n'}, {11, 'v'}, {12, 'f'}, {13, 'r'}};
    if (c < 0x20 || c >= 0x7F || (afterEscape && std::isxdigit(c))) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\x%x", c);
      for (const auto& [byte, letter] : kCEscapes)
        if (byte == c) std::snprintf(escape, sizeof escape, "\\%c", letter);
      out += escape;
      afterEscape = true;
      continue;
    }
    if (c == '"' || c == '\\') out += '\\';
    out += static_cast<char>(c);
    afterEscape = false;
  }
  return out + ")";
}

TEST(CtkImport, TheMapEncodingIsQSettingsOwn) {
  // QSettings 6.4's own line for this map.
  EXPECT_EQ(variantMapIni({{"AETitle", std::string("LTA")}, {"CGET", 0}}),
            R"(@Variant(\0\0\0\b\0\0\0\x2\0\0\0\xe\0\x41\0\x45\0T\0i\0t\0l\0\x65\0\0\0\n\0\0\0\x6\0L\0T\0\x41)"
            R"(\0\0\0\b\0\x43\0G\0\x45\0T\0\0\0\x2\0\0\0\0))");
}

TEST(CtkImport, ReadsTheMapLayoutsOfEarlierVersions) {
  const std::string classic = "[General]\nServerNodeCount=1\nCallingAETitle=SLICER\n[ServerNodes]\n0=" +
                              variantMapIni({{"AETitle", std::string("LTA_MAIN")}, {"Address", std::string("lta")},
                                             {"CGET", 0}, {"CheckState", 2}, {"Name", std::string("Archive")},
                                             {"Port", std::string("11112")}}) + "\n";
  const std::string newerMap = "[DICOM]\nServerNodeCount=1\nServerNodes\\0=" +
                               variantMapIni({{"Address", std::string("lta")}, {"Called AETitle", std::string("LTA_MAIN")},
                                              {"Name", std::string("Archive")}, {"Port", std::string("11112")},
                                              {"Protocol", std::string("CMOVE")}, {"Proxy", std::string("")},
                                              {"QueryRetrieveCheckState", 2}, {"Timeout", 10}}) + "\n";
  for (const std::string& text : {classic, newerMap}) {
    const auto list = importCtkServerNodes(text);
    ASSERT_EQ(list.nodes.size(), 1u) << text;
    EXPECT_EQ(carried(list.nodes[0]), carried(node("Archive", "LTA_MAIN", "lta", "11112", RetrieveModeType::cmove, true)));
    EXPECT_TRUE(list.losses.empty()) << described(list.losses)[0];
  }
  // Both lists in one file: the newer is read, the classic one reported.
  const auto both = importCtkServerNodes(classic + newerMap);
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
