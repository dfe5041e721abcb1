// telvor-nodes import and export: exit statuses, nothing written on failure, appending and
// updating a catalogue without losing what the format does not carry.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;

std::string slurp(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

constexpr const char* kOrthanc = R"({ "DicomModalities" : { "pacs" : [ "PACS", "10.0.0.5", 104 ],
  "archive" : { "AET" : "LTA", "Host" : "lta", "Port" : 11112, "LocalAet" : "ME" } } })";

class PeersCommands : public testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() / ("telvor-peers-" + std::to_string(::getpid()) + "-" +
                                        testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::create_directories(dir_);
  }
  void TearDown() override { fs::remove_all(dir_); }

  struct Run {
    int status;
    std::string out, err;
  };
  Run run(const std::string& args) const {
    const std::string command = std::string("'") + TELVOR_NODES_TOOL + "' " + args + " </dev/null >'" +
                                path("out") + "' 2>'" + path("err") + "'";
    const int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(dir_ / "out"), slurp(dir_ / "err")};
  }
  std::string path(const std::string& name) const { return (dir_ / name).string(); }
  void write(const std::string& name, const std::string& text) const { std::ofstream(dir_ / name) << text; }
  // Imports the two modalities of kOrthanc into the catalogue `name` (status 0 expected).
  int importOrthanc(const std::string& name) const {
    write("orthanc.json", kOrthanc);
    return run("import --from orthanc '" + path("orthanc.json") + "' -o '" + path(name) + "'").status;
  }

  fs::path dir_;
};

struct Damaged {
  const char* format;
  const char* text;
  const char* place;
};

TEST_F(PeersCommands, DamagedInputIsStatusThreeNamingThePlaceAndWritesNothing) {
  const Damaged cases[] = {
      {"orthanc", "{ \"DicomModalities\" : {\n \"a\" : [\"A\", \"h\"] } }", "modality 1 \"a\""},
      {"orthanc", "{ \"DicomModalities\" : {\n \"a\" : [", "line 2, column"},
      {"weasis", "<nodes>\n<node type=\"DICOM\"\n", "line 2, column 19"},
      {"dcmtk-qr", "HostTable BEGIN\nx = y\nHostTable END\n", "not defined"},
      {"dcmtk-pstat", "[[GENERAL]]\n", "[[COMMUNICATION]]"},
      {"ctk", "[DICOM]\nServerNodeCount=x\n", "key DICOM/ServerNodeCount"},
  };
  write("catalogue.plist", slurp(std::string(TELVOR_SOURCE_DIR) + "/examples/nodes.plist"));
  const std::string before = slurp(dir_ / "catalogue.plist");
  for (const auto& c : cases) {
    write("source", c.text);
    const auto r = run(std::string("import --from ") + c.format + " '" + path("source") + "' -o '" +
                       path("catalogue.plist") + "'");
    if (r.status == 2 && r.err.find("unknown peer format") != std::string::npos) continue;  // built without DCMTK or Qt
    EXPECT_EQ(r.status, 3) << c.format << ": " << r.err;
    EXPECT_NE(r.err.find(c.place), std::string::npos) << r.err;
    EXPECT_EQ(slurp(dir_ / "catalogue.plist"), before) << c.format;
  }
}

TEST_F(PeersCommands, StrictTurnsAnyLossIntoStatusOneAndWritesNothing) {
  write("orthanc.json", kOrthanc);
  const auto strictImport = run("import --strict --from orthanc '" + path("orthanc.json") + "' -o '" + path("c.plist") + "'");
  EXPECT_EQ(strictImport.status, 1);
  EXPECT_NE(strictImport.err.find("node 2 \"archive\": LocalAet: \"ME\""), std::string::npos) << strictImport.err;
  EXPECT_FALSE(fs::exists(dir_ / "c.plist"));

  ASSERT_EQ(importOrthanc("c.plist"), 0);
  const auto strictExport = run("export --strict --to weasis '" + path("c.plist") + "' -o '" + path("nodes.xml") + "'");
  EXPECT_EQ(strictExport.status, 1);
  EXPECT_NE(strictExport.err.find("retrieveMode: CMOVE -> reads back as CGET"), std::string::npos) << strictExport.err;
  EXPECT_FALSE(fs::exists(dir_ / "nodes.xml"));

  // A node the format cannot hold is named by its catalogue position, even within a selection.
  write("wide.json", R"({ "DicomModalities" : { "a" : ["A", "h", 1], "wide" : ["SEVENTEEN_CHARS_X", "h", 2] } })");
  ASSERT_EQ(run("import --from orthanc '" + path("wide.json") + "' -o '" + path("c.plist") + "'").status, 0);
  const auto unwritable = run("export --to weasis '" + path("c.plist") + "' --name wide -o '" + path("w.xml") + "'");
  EXPECT_EQ(unwritable.status, 1);
  EXPECT_NE(unwritable.err.find(": node 4 \"wide\": the AE title must have 1 to 16"), std::string::npos) << unwritable.err;
  EXPECT_FALSE(fs::exists(dir_ / "w.xml"));

  const auto unknown = run("export --to ctk-someday '" + path("c.plist") + "'");
  EXPECT_EQ(unknown.status, 2);
  EXPECT_NE(unknown.err.find("this build offers orthanc"), std::string::npos) << unknown.err;
}

TEST_F(PeersCommands, ImportAppendsOrUpdatesMatchingNodesKeepingWhatTheFormatDoesNotCarry) {
  ASSERT_EQ(importOrthanc("c.plist"), 0);
  // A field Orthanc does not carry, set in the catalogue, and an unknown key of another application.
  std::string catalogue = slurp(dir_ / "c.plist");
  const auto at = catalogue.find("<key>Port</key>");
  ASSERT_NE(at, std::string::npos);
  catalogue.insert(at, "<key>icon</key>\n\t\t<string>pacs-icon</string>\n\t\t<key>X-Other</key>\n\t\t<string>kept</string>\n\t\t");
  write("c.plist", catalogue);

  write("renamed.json", R"({ "DicomModalities" : { "renamed" : [ "PACS", "10.0.0.5", 104 ] } })");
  ASSERT_EQ(run("import --replace-matching --from orthanc '" + path("renamed.json") + "' -o '" + path("c.plist") + "'").status, 0);
  auto list = run("list '" + path("c.plist") + "'");
  EXPECT_NE(list.out.find("renamed"), std::string::npos) << list.out;
  EXPECT_EQ(list.out.find("pacs "), std::string::npos) << list.out;
  const std::string updated = slurp(dir_ / "c.plist");
  EXPECT_NE(updated.find("pacs-icon"), std::string::npos);
  EXPECT_NE(updated.find("<key>X-Other</key>"), std::string::npos);

  ASSERT_EQ(run("import --from orthanc '" + path("renamed.json") + "' -o '" + path("c.plist") + "'").status, 0);
  list = run("list '" + path("c.plist") + "'");
  EXPECT_EQ(std::count(list.out.begin(), list.out.end(), '\n'), 4) << list.out;  // header, archive, renamed twice

  // Without -o the catalogue goes to standard output; --select picks nodes by name.
  const auto printed = run("import --from orthanc '" + path("orthanc.json") + "'");
  EXPECT_NE(printed.out.find("<string>LTA</string>"), std::string::npos);
  const auto one = run("export --to dcmtk-qr '" + path("c.plist") + "' --name archive");
  if (one.status != 2) {  // 2: built without DCMTK
    EXPECT_EQ(one.out, "# Peers written by telvor-nodes\nHostTable BEGIN\narchive = (LTA, lta, 11112)\nHostTable END\n");
  }
}

TEST_F(PeersCommands, ImportsIntoAJsonCatalogueAndExportsTheNodesSelectorsChoose) {
  ASSERT_EQ(importOrthanc("c.json"), 0);
  EXPECT_NE(slurp(dir_ / "c.json").find("\"aetitle\": \"LTA\""), std::string::npos) << slurp(dir_ / "c.json");

  const auto both = run("export --to orthanc '" + path("c.json") + "' --aet LTA --index 1");
  EXPECT_EQ(both.status, 0) << both.err;
  EXPECT_NE(both.out.find("\"pacs\""), std::string::npos);
  EXPECT_NE(both.out.find("\"archive\""), std::string::npos);
  const auto one = run("export --to orthanc '" + path("c.json") + "' --name archive");
  EXPECT_EQ(one.out.find("\"pacs\""), std::string::npos) << one.out;
  const auto none = run("export --to orthanc '" + path("c.json") + "' --name nobody");
  EXPECT_EQ(none.status, 2);
  EXPECT_NE(none.err.find("--name \"nobody\" matches no node"), std::string::npos) << none.err;
  // --select takes whatever list shows: a position, a name, an AE title.
  const auto listed = run("export --to orthanc '" + path("c.json") + "' --select 1 --select LTA");
  EXPECT_EQ(listed.out, both.out) << listed.err;
  EXPECT_EQ(run("export --to orthanc '" + path("c.json") + "' --select 3").status, 2);
}

TEST_F(PeersCommands, CtkExportIntoAnExistingSettingsFileKeepsItsOtherSettings) {
  ASSERT_EQ(importOrthanc("c.plist"), 0);
  write("Slicer.ini", "[General]\nlanguage=de_DE\n[DICOM]\nStoragePort=11113\nServerNodeCount=1\n"
                      "ServerNodes\\0=\"@ByteArray({\\\"Called AETitle\\\": \\\"OLD\\\"})\"\n");
  const auto merged = run("export --to ctk '" + path("c.plist") + "' -o '" + path("Slicer.ini") + "'");
  if (merged.status == 2 && merged.err.find("unknown peer format") != std::string::npos) GTEST_SKIP() << "built without Qt";
  ASSERT_EQ(merged.status, 0) << merged.err;
  const std::string text = slurp(dir_ / "Slicer.ini");
  for (const char* expected : {"language=de_DE", "StoragePort=11113", "ServerNodeCount=2", "LTA"})
    EXPECT_NE(text.find(expected), std::string::npos) << expected << " in\n" << text;
  EXPECT_EQ(text.find("OLD"), std::string::npos) << text;

  // A settings file whose server nodes cannot be read is left as it is.
  write("Slicer.ini", "[DICOM]\nServerNodeCount=lots\n");
  const auto refused = run("export --to ctk '" + path("c.plist") + "' -o '" + path("Slicer.ini") + "'");
  EXPECT_EQ(refused.status, 3);
  EXPECT_NE(refused.err.find("Slicer.ini: key DICOM/ServerNodeCount"), std::string::npos) << refused.err;
  EXPECT_EQ(slurp(dir_ / "Slicer.ini"), "[DICOM]\nServerNodeCount=lots\n");
}

}  // namespace
