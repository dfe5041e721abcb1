// Selection and the JSON merge of the catalogue library; editing end to end is in
// tests/tool/catalogue_edit_test.cpp.
#include "telvor/catalogue/catalogue.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <functional>

#include "support/capture.hpp"
#include "support/scratch_files.hpp"
#include "telvor/catalogue/catalogue_error.hpp"
#include "telvor/json/json.hpp"

namespace telvor::catalogue {
namespace {

using testing_support::capture;

constexpr std::string_view kNodes = R"([
  {"uniqueId": "6F1C4D2E-1111-4A4A-8B8B-123456789ABC", "aetitle": "PACS", "name": "Caf\u00e9",
   "transferSyntax": 2, "retrieveMode": 1, "isDicomNode": true, "icon": "i",
   "wadoSettings": {"retrieveSyntax": 0, "https": false, "x-nested": 1}, "x-top": [1]},
  {"aetitle": "pacs", "name": "Two", "transferSyntax": 2, "retrieveMode": 1, "isDicomNode": true,
   "wadoSettings": {"retrieveSyntax": 0, "https": false}},
  {"aetitle": "PACS", "name": "Three", "transferSyntax": 2, "retrieveMode": 1, "isDicomNode": true,
   "wadoSettings": {"retrieveSyntax": 0, "https": false}}
])";

TEST(CatalogueSelection, MatchesByEachSelector) {
  const auto c = Catalogue::parse(kNodes, FileFormat::json);
  const struct {
    Selector selector;
    std::vector<std::size_t> found;
  } cases[] = {
      {Selector::byName("Cafe\u0301"), {0}},  // decomposed matches precomposed
      {Selector::byName("cafe\u0301"), {}},   // letter case counts
      {Selector::byAetitle("PACS"), {0, 2}},
      {Selector::byIndex(2), {1}},
      {Selector::byId("6f1c4d2e-1111-4a4a-8b8b-123456789abc"), {0}},
      {Selector::byId("00000000-0000-4000-8000-000000000000"), {}},
  };
  for (const auto& c2 : cases) EXPECT_EQ(c.matches(c2.selector), c2.found) << c2.selector.describe();
}

TEST(CatalogueSelection, RefusesWithTheCandidates) {
  const auto c = Catalogue::parse(kNodes, FileFormat::json);
  const struct {
    Selector selector;
    std::string says;
  } cases[] = {
      {Selector::byAetitle("PACS"), "2 nodes match the AE title \"PACS\"; select one by position:\n  #1 Caf\u00e9 (PACS)\n  #3 Three (PACS)"},
      {Selector::byName("None"), "no node matches the name \"None\"; the nodes are:\n  #1"},
      {Selector::byIndex(4), "the catalogue holds 3 node(s)"},
      {Selector{Selector::By::index, "0"}, "numbered from 1"},
      {Selector{Selector::By::index, "x"}, "numbered from 1"},
  };
  for (const auto& c2 : cases) {
    SCOPED_TRACE(c2.selector.describe());
    const auto e = capture<CatalogueError>([&] { c.selectOne(c2.selector); });
    EXPECT_EQ(e.kind(), CatalogueError::Kind::invalidArgument);
    EXPECT_NE(std::string(e.what()).find(c2.says), std::string::npos) << e.what();
  }
}

TEST(CatalogueSelection, PropertyListsHaveNoIdentifiers) {
  const auto c = Catalogue::parse(
      "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>AETitle</key><string>A</string></dict></plist>",
      FileFormat::xmlPropertyList);
  EXPECT_FALSE(c.node(0).uniqueId) << "a read's random identifier is not the file's";
  EXPECT_THROW(c.matches(Selector::byId(c.node(0).id())), CatalogueError);
}

TEST(CatalogueJsonEdit, ChangesOnlyChangedMembersAndKeepsUnknownOnes) {
  auto c = Catalogue::parse(kNodes, FileFormat::json);
  DicomNode node = c.node(0);
  node.icon.reset();
  node.port = "104";
  node.wadoSettings.https = true;
  const auto changed = c.replace(0, node);
  EXPECT_EQ(changed, (std::vector<std::string>{"port", "wadoSettings.https", "icon"}));
  const auto saved = json::parse(c.serialize());
  const auto& first = saved.as_array()[0].as_object();
  EXPECT_FALSE(first.contains("icon"));
  EXPECT_EQ(first.at("x-top"), json::parse("[1]"));
  EXPECT_EQ(first.at("wadoSettings").as_object().at("x-nested"), 1);
  EXPECT_EQ(saved.as_array()[1], json::parse(kNodes).as_array()[1]);
  EXPECT_TRUE(c.replace(0, node).empty()) << "a second identical edit changes nothing";
}

TEST(CatalogueShape, ASingleRecordStaysSingleUntilASecondArrives) {
  auto c = Catalogue::parse(R"({"transferSyntax": 2, "retrieveMode": 1, "isDicomNode": true,
                                "wadoSettings": {"retrieveSyntax": 0, "https": false}})",
                            FileFormat::json);
  EXPECT_EQ(c.serialize().front(), '{');
  c.append(c.node(0));
  EXPECT_EQ(c.serialize().front(), '[');
  c.remove(1);
  c.remove(0);
  EXPECT_EQ(c.serialize(), "[]\n");
}

namespace fs = std::filesystem;
using Kind = CatalogueError::Kind;

constexpr std::string_view kPlist =
    "<?xml version=\"1.0\"?><plist version=\"1.0\"><array><dict><key>AETitle</key><string>A</string>"
    "<key>Description</key><string>N</string><key>Address</key><string>h</string>"
    "<key>Port</key><string>104</string></dict></array></plist>";

// Each failure has the kind that tells the caller what to do next, names the file, and
// speaks of the data, never of a command line.
TEST(CatalogueErrors, KindsFollowWhatTheCallerDoesNext) {
  testing_support::ScratchDir dir;
  const auto good = dir.path() / "nodes.plist";
  testing_support::spit(good, std::string(kPlist));
  fs::create_symlink("nodes.plist", dir.path() / "link.plist");
  const auto held = CatalogueLock::acquire(good, std::chrono::milliseconds(0));  // another editor
  const struct {
    const char* name;
    std::function<void()> act;
    Kind kind;
    int errorNumber;
  } cases[] = {
      {"missing", [&] { Catalogue::load(dir.path() / "absent.plist"); }, Kind::invalidInput, ENOENT},
      {"directory", [&] { Catalogue::load(dir.path()); }, Kind::invalidInput, EISDIR},
      {"tooLarge", [&] { Catalogue::load(good, 10); }, Kind::invalidInput, EFBIG},
      {"notACatalogue", [&] { Catalogue::parse("{", FileFormat::json); }, Kind::invalidInput, 0},
      {"lockHeld",
       [&] {
         CatalogueEditor::Options briefly;
         briefly.wait = std::chrono::milliseconds(20);
         CatalogueEditor::open(good, briefly);
       },
       Kind::unavailable, EWOULDBLOCK},
      {"nodeWithoutPort",
       [&] {
         auto c = Catalogue::parse(kPlist, FileFormat::xmlPropertyList);
         DicomNode node = c.node(0);
         node.port.reset();
         c.replace(0, node);
       },
       Kind::invalidArgument, 0},
      {"viewedOnly",
       [&] { Catalogue::parse(kPlist, FileFormat::xmlPropertyList, Catalogue::Purpose::viewing).remove(0); },
       Kind::invalidArgument, 0},
      {"symbolicLink",
       [&] {
         auto editor = CatalogueEditor::open(dir.path() / "link.plist", {});
         editor.save();
       },
       Kind::storage, ELOOP},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    const auto e = capture<CatalogueError>(c.act);
    EXPECT_EQ(e.kind(), c.kind) << e.what();
    EXPECT_EQ(e.errorNumber(), c.errorNumber) << e.what();
    EXPECT_EQ(std::string(e.what()).find("--"), std::string::npos) << "command-line wording: " << e.what();
  }
  EXPECT_EQ(capture<CatalogueError>([&] { Catalogue::load(good, 10); }).file(), good);
}

TEST(CatalogueViewing, ReadsTheNodesAnEditorReads) {
  for (const auto format : {FileFormat::xmlPropertyList, FileFormat::json}) {
    const std::string_view bytes = format == FileFormat::json ? kNodes : kPlist;
    const auto edited = Catalogue::parse(bytes, format);
    const auto viewed = Catalogue::parse(bytes, format, Catalogue::Purpose::viewing);
    ASSERT_EQ(viewed.size(), edited.size());
    for (std::size_t i = 0; i < viewed.size(); ++i) {
      auto expected = edited.node(i);
      auto got = viewed.node(i);
      EXPECT_EQ(got.uniqueId.has_value(), expected.uniqueId.has_value());
      expected.uniqueId = got.uniqueId;  // a property list's are drawn at random by each read
      EXPECT_EQ(got, expected) << "node " << i;
    }
  }
}

// A program started with its standard streams closed must not have its catalogue, lock or
// temporary file land on descriptors 0 to 2, where its own output would go.
TEST(CatalogueDescriptors, StandardStreamsAreNeverUsed) {
  testing_support::ScratchDir dir;
  const auto file = dir.path() / "nodes.plist";
  testing_support::spit(file, std::string(kPlist));
  const pid_t child = ::fork();
  if (child == 0) {
    for (int fd = 0; fd <= 2; ++fd) ::close(fd);
    try {
      auto editor = CatalogueEditor::open(file, {});
      for (int fd = 0; fd <= 2; ++fd)
        if (::fcntl(fd, F_GETFD) != -1) ::_exit(10 + fd);
      DicomNode node = editor.catalogue().node(0);
      node.port = "105";
      editor.catalogue().replace(0, node);
      editor.save();
    } catch (...) {
      ::_exit(2);
    }
    ::_exit(0);
  }
  int status = 0;
  ::waitpid(child, &status, 0);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0) << "2: the edit failed; 10 + N: descriptor N held by the catalogue";
  EXPECT_EQ(Catalogue::load(file).node(0).port, "105");
}

}  // namespace
}  // namespace telvor::catalogue
