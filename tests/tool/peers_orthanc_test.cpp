// Against a real Orthanc: what telvor-nodes exports, Orthanc loads and lists; what Orthanc
// lists, telvor-nodes imports; Orthanc echoes a storescp taken from an exported
// configuration; telvor-nodes echoes Orthanc. Orthanc listens on every address, so it runs
// in a private network namespace holding only loopback (orthanc_session.py).
#include <gtest/gtest.h>
#include <unistd.h>

#include <boost/json.hpp>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "support/free_port.hpp"
#include "support/private_network.hpp"
#include "support/scratch_files.hpp"
#include "telvor/peers/orthanc.hpp"

namespace {

namespace fs = std::filesystem;
using telvor::DicomNode;
using telvor::testing_support::findProgram;
using telvor::testing_support::freePort;
using telvor::testing_support::privateNetworkMissing;
using telvor::testing_support::runInPrivateNetwork;
using telvor::testing_support::shellStatus;
using telvor::testing_support::slurp;

std::map<std::string, DicomNode> byName(const std::vector<DicomNode>& nodes) {
  std::map<std::string, DicomNode> out;
  for (const auto& node : nodes) out.emplace(*node.name, node);
  return out;
}

// What an Orthanc modality holds of a node.
void expectSamePeer(const DicomNode& got, const DicomNode& want, const std::string& name) {
  EXPECT_EQ(got.aetitle, want.aetitle) << name;
  EXPECT_EQ(got.address, want.address) << name;
  EXPECT_EQ(got.port, want.port) << name;
  EXPECT_EQ(got.tlsSettings->isEnabled, want.tlsSettings->isEnabled) << name;
  EXPECT_EQ(got.retrieveMode, want.retrieveMode) << name;
}

class OrthancPeers : public testing::Test {
 protected:
  void SetUp() override {
    orthanc_ = findProgram("Orthanc");
    storescp_ = findProgram("storescp");
    python_ = findProgram("python3");
    if (orthanc_.empty()) GTEST_SKIP() << "Orthanc is not installed (Debian package orthanc)";
    if (storescp_.empty()) GTEST_SKIP() << "storescp is not installed (Debian package dcmtk)";
    if (python_.empty()) GTEST_SKIP() << "python3 is not installed";
    if (const std::string why = privateNetworkMissing(); !why.empty()) GTEST_SKIP() << why;
    // Storage in the build folder, as the test's working folder is.
    dir_ = fs::current_path() / ("orthanc-peers-" + std::to_string(::getpid()));
    fs::remove_all(dir_);
    fs::create_directories(dir_ / "config");
    fs::create_directories(dir_ / "storage");
  }
  void TearDown() override {
    if (!dir_.empty()) fs::remove_all(dir_);
  }

  struct Run {
    int status;
    std::string err;
  };
  Run tool(const std::string& args) const {
    const int status = shellStatus(std::string("'") + TELVOR_NODES_TOOL + "' " + args + " >/dev/null 2>'" +
                             (dir_ / "tool.err").string() + "'");
    return {status, slurp(dir_ / "tool.err")};
  }
  std::string path(const std::string& name) const { return (dir_ / name).string(); }

  std::string orthanc_, storescp_, python_;
  fs::path dir_;
};

// Twenty modalities in every shape a configuration file allows, with comments.
std::string twentyModalities(std::uint16_t storescpPort) {
  std::string entries = "    \"storescp\" : [ \"STORESCP\", \"127.0.0.1\", " + std::to_string(storescpPort) + " ]";
  for (int i = 1; i < 20; ++i) {
    const std::string n = std::to_string(i);
    entries += ",\n";
    if (i % 3 == 0)  // array form with a manufacturer
      entries += "    \"ct_" + n + "\" : [ \"CT" + n + "\", \"10.1.4." + n + "\", " + std::to_string(104 + i) + ", \"GE\" ]";
    else if (i % 3 == 1)  // object form, port as text, TLS, a calling AE and a timeout of its own
      entries += "    /* archive " + n + " */ \"archive-" + n + "\" : { \"AET\" : \"ARCH" + n + "\", \"Host\" : \"pacs" +
                 n + ".hospital.lan\", \"Port\" : \"" + std::to_string(11112 + i) +
                 "\", \"UseDicomTls\" : true, \"LocalAet\" : \"READER7\", \"Timeout\" : 20 }";
    else  // object form with a refused permission
      entries += "    \"Ws_" + n + "\" : { \"AET\" : \"ws" + n + "\", \"Host\" : \"ws" + n + "\", \"Port\" : " +
                 std::to_string(4000 + i) + ", \"AllowStore\" : false }";
  }
  return "{\n  // written by hand, the way people keep them\n  \"DicomModalities\" : {\n" + entries + "\n  }\n}\n";
}

TEST_F(OrthancPeers, LoadsExportedModalitiesImportsItsOwnAndEchoesAStorescpFromTheExport) {
  const std::uint16_t http = freePort(), dicom = freePort(), store = freePort();
  ASSERT_TRUE(http && dicom && store);
  {
    std::ofstream(path("source.json")) << twentyModalities(store);
    std::ofstream(dir_ / "config" / "base.json")
        << "{ \"Name\" : \"telvor-test\", \"StorageDirectory\" : \"" << path("storage") << "\", \"IndexDirectory\" : \""
        << path("storage") << "\", \"HttpPort\" : " << http << ", \"DicomPort\" : " << dicom
        << ", \"DicomAet\" : \"ORTHANC\", \"RemoteAccessAllowed\" : false, \"AuthenticationEnabled\" : false,"
           " \"Plugins\" : [], \"DicomScuTimeout\" : 10 }\n";
    std::ofstream(path("self.json")) << "{ \"DicomModalities\" : { \"orthanc\" : [\"ORTHANC\", \"127.0.0.1\", " << dicom
                                     << "] } }";
    std::ofstream(path("put.json"))
        << R"({ "put-object" : { "AET" : "PUT_OBJ", "Host" : "10.9.9.9", "Port" : 2104, "UseDicomTls" : true,
                                 "Manufacturer" : "GE", "AllowFind" : false },
               "put_array" : [ "PUT_ARR", "put.hospital.lan", "3104" ] })";
  }

  // Configuration -> catalogue -> Orthanc configuration, every loss on standard error.
  const Run imported = tool("import --from orthanc '" + path("source.json") + "' -o '" + path("catalogue.plist") + "'");
  ASSERT_EQ(imported.status, 0) << imported.err;
  for (const char* lost : {"node 2 \"archive-1\": LocalAet: \"READER7\"", "node 2 \"archive-1\": Timeout: 20 s",
                           "node 3 \"Ws_2\": AllowStore: false", "node 4 \"ct_3\": Manufacturer: \"GE\""})
    EXPECT_NE(imported.err.find(lost), std::string::npos) << lost << '\n' << imported.err;
  const Run exported = tool("export --to orthanc '" + path("catalogue.plist") + "' -o '" +
                            (dir_ / "config" / "modalities.json").string() + "'");
  ASSERT_EQ(exported.status, 0) << exported.err;
  // The property list holds isQueryable true by omission, as Orthanc's file does: no loss.
  EXPECT_EQ(exported.err.find("isQueryable"), std::string::npos) << exported.err;
  ASSERT_EQ(tool("import --from orthanc '" + path("self.json") + "' -o '" + path("self.plist") + "'").status, 0);

  const std::string script = "'" + python_ + "' '" + TELVOR_SOURCE_DIR + "/tests/tool/orthanc_session.py' --orthanc '" +
                             orthanc_ + "' --config '" + path("config") + "' --http " + std::to_string(http) +
                             " --log '" + path("orthanc.log") + "' --out '" + path("session.json") + "' --storescp '" +
                             storescp_ + "' --storescp-port " + std::to_string(store) + " --put '" + path("put.json") +
                             "' --echo storescp --tool '" + TELVOR_NODES_TOOL + "' --catalogue '" + path("self.plist") +
                             "'";
  ASSERT_EQ(runInPrivateNetwork(script, 240), 0) << slurp(dir_ / "orthanc.log");
  const boost::json::object session = boost::json::parse(slurp(dir_ / "session.json")).as_object();
  ASSERT_TRUE(session.at("ready").as_bool()) << slurp(dir_ / "orthanc.log");

  // Every exported node, as Orthanc lists it.
  const auto source = byName(telvor::peers::importOrthanc(slurp(dir_ / "source.json")).nodes);
  ASSERT_EQ(session.at("expand").as_array()[0].as_int64(), 200);
  const auto listed = byName(telvor::peers::importOrthanc(session.at("expand").as_array()[1].as_string()).nodes);
  ASSERT_EQ(listed.size(), 20u);
  for (const auto& [name, want] : source) {
    ASSERT_TRUE(listed.count(name)) << name;
    expectSamePeer(listed.at(name), want, name);
  }

  // Modalities made through the REST API import into the nodes their bodies describe.
  for (const auto& entry : session.at("put").as_object()) EXPECT_EQ(entry.value().as_int64(), 200) << entry.key();
  const auto put = byName(telvor::peers::importOrthanc("{\"DicomModalities\":" + slurp(dir_ / "put.json") + "}").nodes);
  const auto after = byName(telvor::peers::importOrthanc(session.at("expandAfterPut").as_array()[1].as_string()).nodes);
  ASSERT_EQ(after.size(), 22u);
  for (const auto& [name, want] : put) {
    ASSERT_TRUE(after.count(name)) << name;
    expectSamePeer(after.at(name), want, name);
  }

  // Orthanc echoes the storescp of the exported configuration; telvor-nodes echoes Orthanc.
  EXPECT_TRUE(session.at("storescpListening").as_bool());
  EXPECT_EQ(session.at("echo").as_array()[0].as_int64(), 200) << session.at("echo").as_array()[1].as_string();
  const auto& echo = session.at("toolEcho").as_array();
  EXPECT_EQ(echo[0].as_int64(), 0) << echo[2].as_string();
  EXPECT_NE(std::string(echo[1].as_string()).find("orthanc: online"), std::string::npos) << echo[1].as_string();
}

}  // namespace
