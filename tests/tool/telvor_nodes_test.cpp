// End-to-end: the built telvor-nodes on files under tests/data.
#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;

struct ToolRun {
  int status;
  std::string out;
  std::string err;
};

std::string slurp(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

class TelvorNodes : public testing::Test {
 protected:
  void SetUp() override {
    scratch_ = fs::temp_directory_path() / ("telvor-nodes-test-" + std::to_string(::getpid()) + "-" +
                                            testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::create_directories(scratch_);
  }
  void TearDown() override { fs::remove_all(scratch_); }

  // Runs the tool with `args` (a shell-quoted string), standard input from `stdinPath`.
  ToolRun run(const std::string& args, const std::string& stdinPath = "/dev/null") const {
    const auto out = scratch_ / "stdout", err = scratch_ / "stderr";
    const std::string command = std::string("'") + TELVOR_NODES_TOOL + "' " + args + " <'" + stdinPath + "' >'" +
                                out.string() + "' 2>'" + err.string() + "'";
    const int raw = std::system(command.c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, slurp(out), slurp(err)};
  }

  static std::string data(const std::string& name) { return std::string(TELVOR_SOURCE_DIR) + "/tests/data/" + name; }
  std::string scratch(const std::string& name) const { return (scratch_ / name).string(); }

  fs::path scratch_;
};

TEST_F(TelvorNodes, ListsTheSampleCatalogue) {
  const auto r = run("list");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out.rfind("Name", 0), 0u);
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

TEST_F(TelvorNodes, TheBinaryFormKeepsWhatXmlCannotHold) {
  const auto r = run("convert --binary '" + data("control_name.json") + "' -o '" + scratch("ring.plist") + "'");
  ASSERT_EQ(r.status, 0) << r.err;
  const auto back = run("convert '" + scratch("ring.plist") + "'");
  ASSERT_EQ(back.status, 0) << back.err;
  EXPECT_NE(back.out.find("\"name\": \"Ring\\u0007\""), std::string::npos) << back.out;
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
      {"nestedKey", "convert '" + data("missing_https.json") + "'", 1,
       "telvor-nodes: keyNotFound at $[1].wadoSettings: No value associated with key \"https\"."},
      {"noDictionaryForm", "convert --to plist '" + data("unnamed.json") + "'", 1,
       "telvor-nodes: invalidValue at $: the node has no name, address; a saved node needs an AE title, a name, an "
       "address and a port."},
      {"xmlCannotHoldIt", "convert --to plist '" + data("control_name.json") + "'", 1,
       "telvor-nodes: invalidValue at $[0].Description: cannot write property list: the text at $[0].Description "
       "holds U+0007"},
      {"notJson", "convert --from json '" + data("../CMakeLists.txt") + "'", 1, "telvor-nodes: dataCorrupted at $: "},
      {"typeMismatch", "convert --type tls '" + data("nodes.json") + "'", 1, "telvor-nodes: keyNotFound at $[0]: "},
      {"unknownOption", "convert --fast", 2, "telvor-nodes: unknown option \"--fast\""},
      {"missingFile", "list '" + data("absent.json") + "'", 2, "telvor-nodes: cannot read"},
      {"statusAsPlist", "convert --type status --to plist '" + data("nodes.json") + "'", 2,
       "telvor-nodes: statuses exist only as JSON"},
      {"noCommand", "", 2, "telvor-nodes: a command is required"},
  };
  for (const auto& c : cases) {
    const auto r = run(c.args);
    EXPECT_EQ(r.status, c.status) << c.name << ": " << r.err;
    EXPECT_EQ(r.err.rfind(c.line, 0), 0u) << c.name << ": " << r.err;
    if (c.status == 2) {
      EXPECT_NE(r.err.find("\nusage: telvor-nodes"), std::string::npos) << c.name;
    } else {
      EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << c.name << ": " << r.err;
    }
  }
}

TEST_F(TelvorNodes, StatusesConvertAsJsonOnly) {
  const auto r = run("convert --type status '" + data("statuses.json") + "'");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find("\"accessable\": {}"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("\"reason\": \"connection refused\""), std::string::npos) << r.out;
  const auto bad = run("convert --type status -", data("nodes.json"));
  EXPECT_EQ(bad.status, 1);
  EXPECT_EQ(bad.err,
            "telvor-nodes: typeMismatch at $[0]: Invalid number of keys found, expected one.\n");
}

TEST_F(TelvorNodes, AFailedConversionWritesNothing) {
  const auto r = run("convert '" + data("missing_https.json") + "' -o '" + scratch("out.plist") + "'");
  EXPECT_EQ(r.status, 1);
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
