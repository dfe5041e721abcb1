// End-to-end: editing catalogues written by other programs, and the command line's
// contracts (exit statuses, --json shapes, help).
#include "tool/tool_fixture.hpp"

#include <vector>

namespace {

using namespace telvor::tool_test;

using CatalogueEdit = ToolTest;

// A catalogue as another application leaves it: unknown keys on a node, a C-MOVE node
// with saved WADO keys, a node with isQueryable and icon, and an entry that is no node.
constexpr const char* kWritePlist = R"PY(
import plistlib, sys, datetime
common = {"isDicomNode": True, "transferSyntax": 2, "QR": True, "Send": True, "Activated": True,
          "TLSEnabled": False, "TLSSecurityProfile": 1, "TLSVerifyPeerCertificate": False,
          "TLSAuthenticateWithCertificate": False}
nodes = [
  dict(common, AETitle="ARCHIVE", Port="104", Description="Main archive", Address="10.0.0.5", retrieveMode=0,
       WADOPort=8080, WADOTransferSyntax=1, WADOUrl="https://x/wado", WADOPassword="secret", WADOUsername="bob",
       WADOhttps=1, **{"com.other.colour": "red", "com.other.blob": b"\x00\x01", "com.other.list": [1, 2.5, "x"],
       "com.other.when": datetime.datetime(2020, 1, 2, 3, 4, 5), "com.other.nested": {"deep": {"n": -3}}}),
  dict(common, AETitle="PACS", Port="11112", Description="Radiology", Address="pacs.example.org", retrieveMode=1,
       isQueryable="0", icon="server.rack"),
  {"OtherApplication": "settings", "Version": 3},
]
with open(sys.argv[1], "wb") as f:
    plistlib.dump(nodes, f, fmt=plistlib.FMT_BINARY if sys.argv[2] == "binary" else plistlib.FMT_XML)
)PY";

constexpr const char* kJsonCatalogue = R"([
  {"uniqueId": "6F1C4D2E-1111-4A4A-8B8B-123456789ABC", "aetitle": "ARCHIVE", "name": "Main archive",
   "address": "10.0.0.5", "port": "104", "transferSyntax": 2, "retrieveMode": 0, "isDicomNode": true,
   "wadoSettings": {"retrieveSyntax": 0, "https": false, "x-proxy": "p"}, "x-colour": "red",
   "x-list": [1, 2.5, {"a": null}]},
  {"aetitle": "PACS", "name": "Radiology", "address": "pacs.example.org", "port": "11112", "transferSyntax": 2,
   "retrieveMode": 1, "isDicomNode": true, "isQueryable": false, "icon": "server.rack",
   "wadoSettings": {"retrieveSyntax": 0, "https": false}, "tlsSettings": {"isEnabled": false,
   "securityProfile": 1, "verifyPeerCertificate": false, "authenticateWithCertificate": false}}
]
)";

struct Edit {
  const char* name;
  std::string args;    // after FILE
  std::string expect;  // compare_catalogues.py's EXPECT
};

void runEdits(CatalogueEdit& test, const std::string& file, const std::vector<Edit>& edits,
              const std::function<void()>& write) {
  for (const auto& edit : edits) {
    write();
    const auto before = test.scratch("before");
    fs::copy_file(file, before, fs::copy_options::overwrite_existing);
    const auto r = test.run(edit.args.substr(0, edit.args.find(' ')) + " '" + file + "' " +
                            edit.args.substr(edit.args.find(' ') + 1), test.scratch("password"));
    ASSERT_EQ(r.status, 0) << edit.name << ": " << r.err;
    const auto check = test.python("compare_catalogues.py", "'" + before + "' '" + file + "' '" + edit.expect + "'");
    EXPECT_EQ(check.status, 0) << edit.name << ": " << check.err << check.out;
  }
}

TEST_F(CatalogueEdit, PropertyListEditsTouchOnlyTheirKeys) {
  spit(scratch("password"), "s3cret\n");
  const std::vector<Edit> edits{
      {"port", "set --name 'Main archive' --port 11113", R"({"index": 0, "set": {"Port": "11113"}})"},
      {"renameByAet", "set --aet PACS --name Reading", R"({"index": 1, "set": {"Description": "Reading"}})"},
      {"renameByName", "set --name Radiology --name Reading", R"({"index": 1, "set": {"Description": "Reading"}})"},
      {"queryableUnset", "set --index 2 --queryable unset", R"({"index": 1, "removed": ["isQueryable"]})"},
      {"iconRemoved", "set --index 2 --icon ''", R"({"index": 1, "removed": ["icon"]})"},
      {"tls", "set --index 2 --tls on --tls-profile 3",
       R"({"index": 1, "set": {"TLSEnabled": true, "TLSSecurityProfile": 3}})"},
      {"syntaxByName", "set --index 1 --transfer-syntax EXS_JPEG2000", R"({"index": 0, "set": {"transferSyntax": 27}})"},
      // The saved WADO keys of a C-MOVE node come back as they were when it turns WADO.
      {"becomesWado", "set --index 1 --retrieve wado", R"({"index": 0, "set": {"retrieveMode": 2}})"},
      {"password", "set --index 2 --wado-password-stdin --retrieve wado --wado-url http://w",
       R"({"index": 1, "set": {"retrieveMode": 2, "WADOPassword": "s3cret", "WADOUrl": "http://w", "WADOPort": 0,
           "WADOTransferSyntax": 0, "WADOUsername": "", "WADOhttps": 0}})"},
      {"remove", "remove --index 2", R"({"removedIndex": 1})"},
      {"add", "add --name New --aet NEWAE --address 127.0.0.1 --port 4242", R"({"appended": 1})"},
  };
  for (const char* kind : {"xml", "binary"}) {
    const auto file = scratch(std::string("nodes-") + kind + ".plist");
    runEdits(*this, file, edits, [&] {
      ASSERT_EQ(shell("python3 -c '" + std::string(kWritePlist) + "' '" + file + "' " + kind).status, 0);
    });
    EXPECT_EQ(slurp(file).rfind("bplist", 0) == 0, kind == std::string("binary")) << "the file keeps its format";
  }
}

TEST_F(CatalogueEdit, JsonEditsKeepUnknownMembers) {
  spit(scratch("password"), "pw");
  const auto file = scratch("nodes.json");
  const std::vector<Edit> edits{
      {"byId", "set --id 6f1c4d2e-1111-4a4a-8b8b-123456789abc --port 11113",
       R"({"index": 0, "set": {"port": "11113"}})"},
      {"nested", "set --index 1 --wado-url http://w --https yes",
       R"({"index": 0, "set": {"wadoSettings.url": "http://w", "wadoSettings.https": true}})"},
      {"password", "set --index 1 --wado-password-file '" + scratch("password") + "'",
       R"({"index": 0, "set": {"wadoSettings.password": "pw"}})"},
      {"queryableUnset", "set --aet PACS --queryable unset", R"({"index": 1, "removed": ["isQueryable"]})"},
      {"remove", "remove --name 'Main archive'", R"({"removedIndex": 0})"},
      {"add", "add --name New --aet NEWAE --address ::1 --port 4242", R"({"appended": 1})"},
  };
  runEdits(*this, file, edits, [&] { spit(file, kJsonCatalogue); });
}

TEST_F(CatalogueEdit, ConcurrentAddsLoseNothing) {
  const auto file = scratch("nodes.plist");
  ASSERT_EQ(shell("python3 -c '" + std::string(kWritePlist) + "' '" + file + "' xml").status, 0);
  const std::string tool = TELVOR_NODES_TOOL;
  const auto r = shell("for i in $(seq 1 20); do '" + tool + "' add '" + file +
                       "' --name n$i --aet AE$i --address 127.0.0.1 --port 104 --wait 60 & done; wait");
  ASSERT_EQ(r.status, 0) << r.err;
  const auto list = run("list --json '" + file + "'");
  ASSERT_EQ(list.status, 0) << list.err;
  for (int i = 1; i <= 20; ++i)
    EXPECT_NE(list.out.find("\"name\": \"n" + std::to_string(i) + "\""), std::string::npos) << i;
  EXPECT_NE(list.out.find("\"index\": 23"), std::string::npos);
  EXPECT_EQ(list.out.find("\"index\": 24"), std::string::npos);
}

// Every exit status, through several commands each.
TEST_F(CatalogueEdit, ExitStatuses) {
  const auto good = scratch("good.json"), bad = scratch("bad.plist"), link = scratch("link.json");
  spit(good, kJsonCatalogue);
  spit(bad, "<?xml version=\"1.0\"?><plist><array><dict><key>A</key></dict></array></plist>");
  fs::create_symlink(good, link);
  const std::string problems = data("problems.json");
  struct Case {
    const char* name;
    std::string args;
    int status;
  };
  const std::vector<Case> cases{
      {"list", "list '" + good + "'", 0},
      {"show", "show '" + good + "' --aet PACS", 0},
      {"checkClean", "check '" + good + "'", 0},
      {"checkProblems", "check '" + problems + "'", 1},
      {"checkProblemsJson", "check --json '" + problems + "'", 1},
      {"unknownOption", "list --frobnicate", 2},
      {"badValue", "set '" + good + "' --index 1 --retrieve ftp", 2},
      {"noMatch", "show '" + good + "' --name Nobody", 2},
      {"severalMatch", "show '" + good + "' --aet ARCHIVE --aet PACS", 2},
      {"indexOutOfRange", "remove '" + good + "' --index 9", 2},
      {"idOnPlist", "show '" + std::string(TELVOR_SOURCE_DIR) + "/examples/nodes.plist" + "' --id 6F1C4D2E-1111-4A4A-8B8B-123456789ABC", 2},
      {"refusedNode", "add '" + good + "' --name X --aet 'BAD\\AE' --address h --port 104", 2},
      {"passwordOnLine", "set '" + good + "' --index 1 --wado-password pw", 2},
      {"missingFile", "show '" + scratch("absent.json") + "' --index 1", 3},
      {"damaged", "list '" + bad + "'", 3},
      {"damagedEdit", "set '" + bad + "' --index 1 --port 1", 3},
      {"symlinkSave", "set '" + link + "' --index 1 --port 105", 4},
  };
  for (const auto& c : cases) {
    const auto r = run(c.args);
    EXPECT_EQ(r.status, c.status) << c.name << ": " << r.err;
  }
  // A second editor waits for the lock, then gives up.
  const auto held = shell("flock '" + good + ".lock' sleep 3 & sleep 0.5; '" + std::string(TELVOR_NODES_TOOL) +
                          "' set '" + good + "' --index 1 --port 106 --wait 0.2; status=$?; wait; exit $status");
  EXPECT_EQ(held.status, 4) << held.err;
  EXPECT_NE(held.err.find("--wait"), std::string::npos) << held.err;
  EXPECT_EQ(run("add '" + good + "' --name X --aet 'BAD\\AE' --address h --port 104 --force").status, 0);
}

TEST_F(CatalogueEdit, JsonOutputsHaveTheDocumentedShape) {
  const auto file = scratch("nodes.json");
  spit(file, kJsonCatalogue);
  const std::vector<std::pair<std::string, std::string>> cases{
      {"list", "list --json"},
      {"list", "list --json '" + file + "'"},
      {"show", "show --json '" + file + "' --index 2"},
      {"check", "check --json '" + data("problems.json") + "'"},
  };
  for (const auto& [kind, args] : cases) {
    const auto r = run(args);
    ASSERT_LE(r.status, 1) << args << ": " << r.err;
    spit(scratch("out.json"), r.out);
    const auto shape = python("json_shapes.py", kind, scratch("out.json"));
    EXPECT_EQ(shape.status, 0) << args << ": " << shape.err << "\n" << r.out;
  }
}

TEST_F(CatalogueEdit, ShowNeverPrintsThePassword) {
  const auto file = scratch("nodes.json");
  spit(file, kJsonCatalogue);
  spit(scratch("password"), "hunter2");
  ASSERT_EQ(run("set '" + file + "' --index 1 --wado-password-stdin", scratch("password")).status, 0);
  for (const char* args : {"show --index 1", "show --json --index 1", "list", "list --json"}) {
    const auto r = run(std::string(args) + " '" + file + "'");
    EXPECT_EQ(r.out.find("hunter2"), std::string::npos) << args;
  }
  EXPECT_NE(run("show '" + file + "' --index 1").out.find("WADO password:       (set)"), std::string::npos);
  EXPECT_NE(run("show '" + file + "' --index 2").out.find("(absent)"), std::string::npos);
}

TEST_F(CatalogueEdit, EveryCommandAnswersHelp) {
  const auto top = run("--help");
  ASSERT_EQ(top.status, 0);
  for (const char* status : {"0  success", "1  the answer is no", "2  usage", "3  the input", "4  the result"})
    EXPECT_NE(top.out.find(status), std::string::npos) << status;
  for (const char* command : {"list", "show", "check", "echo", "add", "set", "remove", "convert"}) {
    const auto help = run(std::string(command) + " --help");
    EXPECT_EQ(help.status, 0) << command;
    EXPECT_NE(help.out.find(std::string("Usage: telvor-nodes ") + command), std::string::npos) << help.out;
    EXPECT_EQ(run(std::string(command) + " -h").out, help.out) << command;
    EXPECT_EQ(run(std::string("help ") + command).out, help.out) << command;
  }
  EXPECT_EQ(run("help frobnicate").status, 2);
}

TEST_F(CatalogueEdit, ConvertSaysWhatItDrops) {
  const auto file = scratch("nodes.plist");
  ASSERT_EQ(shell("python3 -c '" + std::string(kWritePlist) + "' '" + file + "' xml").status, 0);
  const auto r = run("convert '" + file + "' -o '" + scratch("out.json") + "'");
  ASSERT_EQ(r.status, 0) << r.err;
  // Node 1: six saved WADO keys of a C-MOVE node and five unknown keys; entry 3: two keys.
  EXPECT_NE(r.err.find("leaves out 13 entries"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("telvor-nodes set"), std::string::npos) << r.err;
  const auto clean = run("convert '" + data("nodes.json") + "'");
  EXPECT_EQ(clean.err, "");
}

}  // namespace
