// End-to-end: the built telvor-nodes on files under tests/data.
#include "tool/tool_fixture.hpp"

namespace {

using namespace telvor::tool_test;

using TelvorNodes = ToolTest;

TEST_F(TelvorNodes, ListsTheSampleCatalogue) {
  const auto r = run("list");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.rfind("#  Name", 0), 0u);
  for (const char* cell : {"AE title", "Transfer syntax", "Main archive", "CMOVE", "CGET", "WADO", "profile 2",
                           "https://wado.example.org/wado https", "Explicit VR Little Endian", "off"})
    EXPECT_NE(r.out.find(cell), std::string::npos) << cell << "\n" << r.out;
}

TEST_F(TelvorNodes, ListsAJsonFileWithOneRowPerNode) {
  const auto r = run("list '" + data("nodes.json") + "'");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(std::count(r.out.begin(), r.out.end(), '\n'), 3);
  EXPECT_NE(r.out.find("Web archive   WEBPACS"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("profile 3"), std::string::npos) << r.out;
}

TEST_F(TelvorNodes, ConvertsJsonToPlistAndBackLosingOnlyWhatTheDictionaryFormLoses) {
  ASSERT_EQ(run("convert '" + data("nodes.json") + "' -o '" + scratch("nodes.plist") + "'").status, 0);
  EXPECT_NE(slurp(scratch("nodes.plist")).find("<key>WADOhttps</key>"), std::string::npos);
  const auto binary = run("convert --binary '" + data("nodes.json") + "' -o '" + scratch("nodes.bin.plist") + "'");
  ASSERT_EQ(binary.status, 0) << binary.err;
  EXPECT_EQ(slurp(scratch("nodes.bin.plist")).rfind("bplist", 0), 0u);

  const auto back = run("convert '" + scratch("nodes.bin.plist") + "'");
  ASSERT_EQ(back.status, 0) << back.err;
  EXPECT_NE(back.out.find("\n  {\n    \"uniqueId\": \""), std::string::npos) << back.out;
  EXPECT_NE(back.out.find("\"url\": \"https://wado.example.org/wado\""), std::string::npos) << back.out;
  EXPECT_EQ(back.out.find("E621E1F8"), std::string::npos);  // identities are not stored in a dictionary
}

TEST_F(TelvorNodes, JsonToJsonReEncodesInCodedOrder) {
  const auto r = run("convert --to json -", data("unnamed.json"));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "{\n  \"aetitle\": \"A\",\n  \"port\": \"104\",\n  \"transferSyntax\": 2,\n  \"retrieveMode\": 1,\n"
            "  \"isDicomNode\": true,\n  \"wadoSettings\": {\n    \"retrieveSyntax\": 0,\n    \"https\": false\n  }\n}\n");
}

// Each failing call: its exit status and the one line it must print.
struct Failing {
  const char* name;
  std::string args;
  int status;
  std::string line;
};

TEST_F(TelvorNodes, ErrorsFollowTheOneLineFormat) {
  const Failing cases[] = {
      {"nestedKey", "convert '" + data("missing_https.json") + "'", 3,
       "telvor-nodes: keyNotFound at $[1].wadoSettings: No value associated with key \"https\"."},
      {"noDictionaryForm", "convert --to plist '" + data("unnamed.json") + "'", 3,
       "telvor-nodes: invalidValue at $: the node has no name, address; a saved node needs an AE title, a name, an "
       "address and a port."},
      {"notJson", "convert --from json '" + data("../CMakeLists.txt") + "'", 3, "telvor-nodes: dataCorrupted at $: "},
      {"typeMismatch", "convert --type tls '" + data("nodes.json") + "'", 3, "telvor-nodes: keyNotFound at $[0]: "},
      {"unknownOption", "convert --fast", 2, "telvor-nodes: The following argument was not expected: --fast"},
      {"missingFile", "list '" + data("absent.json") + "'", 3, "telvor-nodes: cannot read"},
      {"statusAsPlist", "convert --type status --to plist '" + data("nodes.json") + "'", 2,
       "telvor-nodes: statuses exist only as JSON"},
      {"noCommand", "", 2, "telvor-nodes: a command is required"},
  };
  for (const auto& c : cases) {
    const auto r = run(c.args);
    EXPECT_EQ(r.status, c.status) << c.name << ": " << r.err;
    EXPECT_EQ(r.err.rfind(c.line, 0), 0u) << c.name << ": " << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), c.name == std::string("unknownOption") ? 2 : 1)
        << c.name << ": " << r.err;
  }
}

TEST_F(TelvorNodes, StatusesConvertAsJsonOnly) {
  const auto r = run("convert --type status '" + data("statuses.json") + "'");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("\"accessable\": {}"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("\"reason\": \"connection refused\""), std::string::npos) << r.out;
  const auto bad = run("convert --type status -", data("nodes.json"));
  EXPECT_EQ(bad.status, 3);
  EXPECT_EQ(bad.err,
            "telvor-nodes: typeMismatch at $[0]: Invalid number of keys found, expected one.\n");
}

TEST_F(TelvorNodes, AFailedConversionWritesNothing) {
  const auto r = run("convert '" + data("missing_https.json") + "' -o '" + scratch("out.plist") + "'");
  EXPECT_EQ(r.status, 3);
  EXPECT_FALSE(fs::exists(scratch("out.plist")));
}

TEST_F(TelvorNodes, CheckReportsEachProblem) {
  auto r = run("check '" + data("problems.json") + "'");
  EXPECT_EQ(r.status, 1);
  for (const char* code : {"Too long: aetitle-too-long", "Too long: port-invalid", "Too long: address-empty",
                           "Too long: wado-url-missing", "Fine: ok"})
    EXPECT_NE(r.out.find(code), std::string::npos) << code << "\n" << r.out;
  r = run("check '" + data("nodes.json") + "'");
  EXPECT_EQ(r.status, 0) << r.out;
}

TEST_F(TelvorNodes, PrintsItsVersion) {
  const auto r = run("--version");
  EXPECT_EQ(r.status, 0);
  EXPECT_NE(r.out.find("Telvor"), std::string::npos) << r.out;
}

}  // namespace
