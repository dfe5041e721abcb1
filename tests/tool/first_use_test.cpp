// What a new user meets first: a mistyped command, another system's file given as a
// catalogue, an empty file, a folder that cannot be written, duplicates and empty names,
// WADO settings that cannot work, and a conversion that leaves keys out.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "tool_fixture.hpp"

namespace telvor::tool_test {
namespace {

struct Said {
  const char* args;  // after the tool's name; FILE stands for the scratch file "f"
  const char* file;  // the scratch file's text, or nullptr for none
  int status;
  const char* err;   // part of standard error
};

std::string replaced(std::string text, const std::string& what, const std::string& with) {
  for (auto at = text.find(what); at != std::string::npos; at = text.find(what, at + with.size()))
    text.replace(at, what.size(), with);
  return text;
}

TEST_F(ToolTest, MessagesSayWhatToDoInstead) {
  const Said cases[] = {
      {"lst FILE", nullptr, 2, "no command \"lst\"; did you mean \"list\"?"},
      {"imprt --from orthanc FILE", nullptr, 2, "did you mean \"import\"?"},
      {"frobnicate", nullptr, 2, "no command \"frobnicate\" (run"},
      {"list FILE", "# dcmqrscp\nHostTable BEGIN\nHostTable END\n", 3, "telvor-nodes import --from dcmtk-qr"},
      {"list FILE", "{ // Orthanc\n \"DicomModalities\" : {} }", 3, "import --from orthanc"},
      {"list FILE", "{ \"nodes\" : 1 ", 3, "not valid JSON"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args);
    if (c.file) spit(scratch("f"), c.file);
    const auto r = run(replaced(c.args, "FILE", "'" + scratch("f") + "'"));
    EXPECT_EQ(r.status, c.status) << r.err;
    EXPECT_NE(r.err.find(c.err), std::string::npos) << r.err;
    if (std::string(c.err) == "not valid JSON") {
      EXPECT_EQ(r.err.find("import --from"), std::string::npos) << r.err;
    }
  }
}

TEST_F(ToolTest, AddTakesAnEmptyFileAsAnEmptyCatalogueAndGuardsNamesAndDuplicates) {
  const std::string node = " --aet PACS --address 10.0.0.5 --port 104";
  {
    const std::string file = "'" + scratch("nodes.plist") + "'";
    spit(scratch("nodes.plist"), "");
    auto r = run("add " + file + " --name Archive" + node);
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");

    r = run("add " + file + " --name ''" + node);
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("--name is empty"), std::string::npos) << r.err;

    r = run("add " + file + " --name Again" + node);
    EXPECT_EQ(r.status, 0);
    EXPECT_NE(r.err.find("warning: node 1 has the same AE title, address and port"), std::string::npos) << r.err;

    ASSERT_EQ(run("set " + file + " --index 1 --name ''").status, 0);
    r = run("check " + file);
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.out.find("node 1: name-empty"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("Again: duplicate: Same AE title, address and port as node 1"), std::string::npos) << r.out;
  }
}

TEST_F(ToolTest, CheckNamesTheFirstNodeOfEachPeerForEveryLaterOne) {
  const std::string file = "'" + scratch("peers.plist") + "'";
  spit(scratch("peers.plist"), "");
  // A port of its own makes another peer; every repeat names the first node, not the last.
  const std::pair<const char*, const char*> nodes[] = {
      {"A", "104"}, {"B", "105"}, {"C", "104"}, {"D", "105"}, {"E", "104"}};
  for (const auto& [name, port] : nodes)
    ASSERT_EQ(run("add " + file + " --name " + name + " --aet PACS --address 10.0.0.5 --port " + port).status, 0);
  const auto r = run("check " + file);
  EXPECT_EQ(r.status, 1);
  const std::string same = ": duplicate: Same AE title, address and port as node ";
  const std::string tail = ": remove one of them, or correct the one that is wrong.\n";
  EXPECT_EQ(r.out, "A: ok\nB: ok\nC" + same + "1" + tail + "D" + same + "2" + tail + "E" + same + "1" + tail);
}

TEST_F(ToolTest, WadoSettingsAreCheckedLikeTheDicomOnes) {
  const std::string file = "'" + scratch("nodes.plist") + "'";
  spit(scratch("nodes.plist"), slurp(std::string(TELVOR_SOURCE_DIR) + "/examples/nodes.plist"));
  const std::string before = slurp(scratch("nodes.plist"));
  const Said refused[] = {
      {"--retrieve wado", nullptr, 2, "wado-url-invalid: WADO URL \"wado\""},  // the entry's placeholder
      {"--wado-port 99999", nullptr, 2, "--wado-port"},
      {"--retrieve wado --wado-url https://pacs/wado --https no", nullptr, 2, "wado-url-scheme-mismatch"},
  };
  for (const auto& c : refused) {
    SCOPED_TRACE(c.args);
    const auto r = run("set " + file + " --index 1 " + c.args);
    EXPECT_EQ(r.status, c.status) << r.err;
    EXPECT_NE(r.err.find(c.err), std::string::npos) << r.err;
    EXPECT_EQ(slurp(scratch("nodes.plist")), before);
  }
  const auto r = run("set " + file + " --index 1 --retrieve wado --wado-url https://pacs/wado --https yes");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(run("check " + file).status, 0);
}

TEST_F(ToolTest, AFolderThatCannotBeWrittenIsNamed) {
  fs::create_directories(scratch("ro"));
  spit(scratch("ro/nodes.plist"), slurp(std::string(TELVOR_SOURCE_DIR) + "/examples/nodes.plist"));
  // Root writes anywhere: a read-only bind mount in a user namespace refuses even root.
  const std::string folder = scratch("ro");
  const auto r = shell("unshare -rm sh -c \"mount --bind -o ro '" + folder + "' '" + folder + "' && exec '" +
                       TELVOR_NODES_TOOL + "' set '" + folder + "/nodes.plist' --index 1 --port 11112\"");
  if (r.status != 4 && r.err.find("telvor-nodes") == std::string::npos)
    GTEST_SKIP() << "no user and mount namespace for a read-only folder: " << r.err;
  EXPECT_EQ(r.status, 4);
  EXPECT_NE(r.err.find("cannot write in the folder \"" + folder + "\""), std::string::npos) << r.err;
  EXPECT_EQ(r.err.find(".lock"), std::string::npos) << r.err;
}

TEST_F(ToolTest, ConvertNamesTheKeysItLeavesOut) {
  const std::string node = R"("aetitle": "A", "name": "n", "address": "h", "port": "1", "isDicomNode": true, "transferSyntax": 0,
    "retrieveMode": 0, "wadoSettings": {"retrieveSyntax": 0, "https": false})";
  spit(scratch("nodes.json"), "[{" + node + R"(, "colour": "red"}, {)" + node + R"(, "colour": "blue", "shelf": 2}])");
  const auto r = run("convert --to plist '" + scratch("nodes.json") + "'");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.err.find("leaves out 3 entries"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("\"colour\" (2 records), \"shelf\""), std::string::npos) << r.err;
}

}  // namespace
}  // namespace telvor::tool_test
