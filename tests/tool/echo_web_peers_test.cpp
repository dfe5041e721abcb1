// `telvor-nodes echo` against real peers as a new user meets them: Orthanc with its
// DICOMweb plugin and basic authentication, behind nginx as TLS terminator, and Orthanc as
// a DICOM archive (query refusal, C-MOVE and C-GET retrieve checks). Orthanc listens on
// every address, so everything runs in a private network namespace holding only loopback
// (echo_web_session.py).
#include <gmock/gmock.h>
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

namespace {

namespace fs = std::filesystem;
namespace json = boost::json;
using telvor::testing_support::findProgram;
using telvor::testing_support::freePort;
using telvor::testing_support::privateNetworkMissing;
using telvor::testing_support::runInPrivateNetwork;
using telvor::testing_support::shellStatus;
using telvor::testing_support::slurp;
using ::testing::HasSubstr;

constexpr const char* kPlugin = "/usr/share/orthanc/plugins/libOrthancDicomWeb.so";
constexpr const char* kPassword = "right-Pa55word";

// A web node of the catalogue: retrieve mode WADO, DICOM port Orthanc's.
json::object webNode(const std::string& name, std::uint16_t dicomPort, std::uint16_t wadoPort, const std::string& url,
                     const std::string& password, bool https, const std::string& address = "127.0.0.1") {
  return {{"aetitle", "ORTHANC"},
          {"name", name},
          {"address", address},
          {"port", std::to_string(dicomPort)},
          {"transferSyntax", 2},
          {"retrieveMode", 2},
          {"isDicomNode", true},
          {"wadoSettings",
           {{"port", wadoPort}, {"url", url}, {"username", "reader"}, {"password", password}, {"retrieveSyntax", 0},
            {"https", https}}},
          {"tlsSettings",
           {{"isEnabled", false}, {"securityProfile", 1}, {"verifyPeerCertificate", true},
            {"authenticateWithCertificate", false}}}};
}

json::array args(std::initializer_list<std::string> list) {
  json::array out;
  for (const auto& a : list) out.emplace_back(a);
  return out;
}

class EchoWebPeers : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* program : {"Orthanc", "nginx", "openssl", "dump2dcm", "python3", "unshare", "ip"})
      if (findProgram(program).empty()) GTEST_SKIP() << program << " is not installed (see run.sh's TEST_PACKAGES)";
    if (::access(kPlugin, R_OK) != 0) GTEST_SKIP() << "Orthanc's DICOMweb plugin is not installed (orthanc-dicomweb)";
    if (const std::string why = privateNetworkMissing(); !why.empty()) GTEST_SKIP() << why;
    if (shellStatus(std::string("'") + TELVOR_NODES_TOOL + "' echo --help >/dev/null 2>&1") != 0 ||
        shellStatus(std::string("'") + TELVOR_NODES_TOOL +
                    "' echo --host 127.0.0.1 --aec X --timeout 0.01 2>&1 | grep -q "
                    "'needs the DCMTK companion'") == 0)
      GTEST_SKIP() << "this build's telvor-nodes cannot echo (no DCMTK companion)";
  }

  fs::path path(const std::string& name) const { return dir_.path() / name; }
  std::string text(const std::string& name) const { return path(name).string(); }

  telvor::testing_support::ScratchDir dir_;
};

TEST_F(EchoWebPeers, EveryAnswerTellsTheTruthAboutWebAndDicomPeers) {
  const std::uint16_t httpA = freePort(), dicomA = freePort(), httpB = freePort(), dicomB = freePort(),
                      tls = freePort(), listen = freePort(), closed = freePort();
  ASSERT_TRUE(httpA && dicomA && httpB && dicomB && tls && listen && closed);
  for (const char* folder : {"a", "b", "nginx"}) fs::create_directories(path(folder));
  ASSERT_EQ(shellStatus("openssl req -x509 -newkey rsa:2048 -nodes -keyout '" + text("server.key") + "' -out '" +
                  text("server.pem") + "' -days 1 -subj /CN=127.0.0.1 -addext subjectAltName=IP:127.0.0.1 "
                                       ">'" + text("openssl.log") + "' 2>&1"),
            0)
      << slurp(path("openssl.log"));
  std::ofstream(path("instance.dump"))
      << "(0008,0016) UI =SecondaryCaptureImageStorage\n(0008,0018) UI [1.2.826.0.1.3680043.2.1143.4343.1.1.1]\n"
         "(0008,0060) CS [OT]\n(0010,0010) PN [Probe^Test]\n(0010,0020) LO [PROBE1]\n"
         "(0020,000d) UI [1.2.826.0.1.3680043.2.1143.4343.1]\n(0020,000e) UI [1.2.826.0.1.3680043.2.1143.4343.1.1]\n"
         "(0028,0002) US 1\n(0028,0004) CS [MONOCHROME2]\n(0028,0010) US 2\n(0028,0011) US 2\n(0028,0100) US 8\n"
         "(0028,0101) US 8\n(0028,0102) US 7\n(0028,0103) US 0\n(7fe0,0010) OB 00\\7f\\80\\ff\n";
  ASSERT_EQ(shellStatus("dump2dcm -g +te '" + text("instance.dump") + "' '" + text("instance.dcm") + "'"), 0);

  // A: DICOMweb with basic authentication; knows TELVOR (move destination at `listen`) and
  // NOGET (no C-GET). B: a DICOM archive that answers queries and moves from anyone.
  const auto orthanc = [&](const std::string& name, std::uint16_t http, std::uint16_t dicom, json::object extra) {
    json::object config{{"Name", name},
                        {"StorageDirectory", text(name)},
                        {"IndexDirectory", text(name)},
                        {"HttpPort", http},
                        {"DicomPort", dicom},
                        {"DicomAet", "ORTHANC"},
                        {"RemoteAccessAllowed", false},
                        {"DicomScuTimeout", 10}};
    for (auto& [key, value] : extra) config[key] = value;
    std::ofstream(path(name + ".json")) << json::serialize(config);
  };
  orthanc("a", httpA, dicomA,
          {{"AuthenticationEnabled", true},
           {"RegisteredUsers", {{"reader", kPassword}}},
           {"Plugins", json::array{kPlugin}},
           {"DicomWeb", {{"Enable", true}, {"Root", "/dicom-web/"}}},
           {"DicomModalities",
            {{"telvor", {{"AET", "TELVOR"}, {"Host", "127.0.0.1"}, {"Port", listen}}},
             {"noget", {{"AET", "NOGET"}, {"Host", "127.0.0.1"}, {"Port", listen}, {"AllowGet", false}}}}}});
  orthanc("b", httpB, dicomB,
          {{"AuthenticationEnabled", false},
           {"Plugins", json::array{}},
           {"DicomAlwaysAllowFind", true},
           {"DicomAlwaysAllowMove", true},
           {"DicomAlwaysAllowGet", true}});
  const std::string n = text("nginx");
  std::ofstream(path("nginx/nginx.conf"))
      << "master_process off; daemon off; user root; pid " << n << "/nginx.pid; error_log " << n << "/error.log;\n"
      << "events { worker_connections 64; }\nhttp {\n  access_log off;\n  client_body_temp_path " << n
      << "/body; proxy_temp_path " << n << "/proxy; fastcgi_temp_path " << n << "/fastcgi; uwsgi_temp_path " << n
      << "/uwsgi; scgi_temp_path " << n << "/scgi;\n  server {\n    listen 127.0.0.1:" << tls << " ssl;\n"
      << "    ssl_certificate " << text("server.pem") << ";\n    ssl_certificate_key " << text("server.key") << ";\n"
      << "    location / { proxy_pass http://127.0.0.1:" << httpA << "; }\n  }\n}\n";

  json::array nodes{
      webNode("right", dicomA, httpA, "/dicom-web", kPassword, false),
      webNode("wrong-password", dicomA, httpA, "/dicom-web", "not-the-Pa55word", false),
      webNode("no-service", dicomA, httpA, "/no-such-service", kPassword, false),
      webNode("closed-port", dicomA, closed, "/dicom-web", kPassword, false),
      webNode("https", dicomA, tls, "/dicom-web", kPassword, true),
      // The certificate names 127.0.0.1 only.
      webNode("https-by-name", dicomA, tls, "/dicom-web", kPassword, true, "localhost"),
  };
  std::ofstream(path("web.json")) << json::serialize(nodes);

  const std::string tool = TELVOR_NODES_TOOL;
  const std::string a = std::to_string(dicomA), b = std::to_string(dicomB), port = std::to_string(listen);
  const auto dicom = [](const std::string& peerPort, std::initializer_list<std::string> more) {
    json::array out = args({"echo", "--host", "127.0.0.1", "--port", peerPort, "--aec", "ORTHANC", "--timeout", "20"});
    for (const auto& m : more) out.emplace_back(m);
    return out;
  };
  json::object plan{
      {"tool", tool},
      {"out", text("session.json")},
      {"instance", text("instance.dcm")},
      {"servers",
       {json::object{{"argv", args({findProgram("Orthanc"), text("a.json")})}, {"log", text("a.log")}, {"port", httpA}},
        json::object{{"argv", args({findProgram("Orthanc"), text("b.json")})}, {"log", text("b.log")}, {"port", httpB}},
        json::object{{"argv", args({findProgram("nginx"), "-e", n + "/error.log", "-p", n, "-c", n + "/nginx.conf"})},
                     {"log", text("nginx.log")},
                     {"port", tls}}}},
      {"uploads",
       {json::object{{"url", "http://127.0.0.1:" + std::to_string(httpA) + "/instances"}, {"user", "reader"},
                     {"password", kPassword}},
        json::object{{"url", "http://127.0.0.1:" + std::to_string(httpB) + "/instances"}}}},
      {"before",
       {{"moveEmpty", dicom(a, {"--aet", "TELVOR", "--check-retrieve", "--listen-port", port})},
        {"getEmpty", dicom(a, {"--aet", "TELVOR", "--check-retrieve"})}}},
      {"after",
       {{"web", args({"echo", text("web.json"), "--timeout", "20", "--jobs", "5"})},
        {"webTrusted", args({"echo", text("web.json"), "--name", "https", "--ca-file", text("server.pem"), "--json"})},
        {"webByName", args({"echo", text("web.json"), "--name", "https-by-name", "--ca-file", text("server.pem")})},
        {"queryStranger", dicom(a, {"--aet", "STRANGER", "--check-find"})},
        {"moveKnown", dicom(a, {"--aet", "TELVOR", "--check-find", "--check-retrieve", "--listen-port", port})},
        {"getKnown", dicom(a, {"--aet", "TELVOR", "--check-retrieve"})},
        {"getRefused", dicom(a, {"--aet", "NOGET", "--check-retrieve"})},
        {"moveStranger", dicom(b, {"--aet", "STRANGER", "--check-retrieve", "--listen-port", port})},
        {"getStranger", dicom(b, {"--aet", "STRANGER", "--check-retrieve"})}}}};
  std::ofstream(path("plan.json")) << json::serialize(plan);

  const std::string script =
      std::string("python3 '") + TELVOR_SOURCE_DIR + "/tests/tool/echo_web_session.py' '" + text("plan.json") + "'";
  ASSERT_EQ(runInPrivateNetwork(script, 300), 0) << slurp(path("a.log")) << slurp(path("nginx/error.log"));
  const json::object session = json::parse(slurp(path("session.json"))).as_object();
  ASSERT_TRUE(session.at("ready").as_bool())
      << slurp(path("a.log")) << slurp(path("b.log")) << slurp(path("nginx/error.log"));
  for (const auto& status : session.at("uploads").as_array()) EXPECT_EQ(status.as_int64(), 200);
  std::map<std::string, std::string> out;
  for (const auto& [name, run] : session.at("runs").as_object())
    out[name] = std::string(run.at("out").as_string()) + std::string(run.at("err").as_string());
  const auto line = [&](const std::string& run, const std::string& start) {
    const std::string all = "\n" + out[run];  // lines are found by their start
    auto at = all.find("\n" + start);
    if (at != std::string::npos) ++at;
    return at == std::string::npos ? "(no line " + start + " in:\n" + all + ")" : all.substr(at, all.find('\n', at) - at);
  };

  // The web nodes: each row its own truth, and never the password.
  const std::string web = std::to_string(httpA);
  EXPECT_EQ(line("web", "right:"), "right: online");
  EXPECT_EQ(line("web", "wrong-password:"),
            "wrong-password: offline: http://127.0.0.1:" + web +
                "/dicom-web refused the credentials (HTTP 401): check the node's WADO user name and password.");
  EXPECT_THAT(line("web", "no-service:"), HasSubstr("offline: No DICOMweb service at http://127.0.0.1:" + web +
                                                    "/no-such-service (HTTP 404)"));
  EXPECT_THAT(line("web", "closed-port:"),
              HasSubstr("offline: Connection to http://127.0.0.1:" + std::to_string(closed) +
                        "/dicom-web refused: nothing listens on that port"));
  EXPECT_THAT(line("web", "https:"), HasSubstr("offline: The certificate of https://127.0.0.1:" +
                                               std::to_string(tls) + "/dicom-web is not trusted"));
  EXPECT_THAT(line("webByName", "https-by-name:"),
              HasSubstr("offline: The certificate of https://localhost:" + std::to_string(tls) +
                        "/dicom-web was issued for another host name"));
  EXPECT_THAT(out["webTrusted"], HasSubstr("\"title\": \"online\""));
  EXPECT_THAT(out["webTrusted"], HasSubstr("\"via\": \"http\""));
  for (const auto& [name, text] : out) {
    EXPECT_EQ(text.find(kPassword), std::string::npos) << name;
    EXPECT_EQ(text.find("not-the-Pa55word"), std::string::npos) << name;
  }

  // Orthanc refuses queries from AE titles it does not know: the reason names the title.
  EXPECT_THAT(line("queryStranger", "127.0.0.1:"),
              HasSubstr("online; query: refused: 127.0.0.1:" + a +
                        " refused the query: it closed the association instead of answering the C-FIND. It most "
                        "likely does not know this computer's AE title \"STRANGER\""));

  // Retrieving, as Orthanc answers it.
  EXPECT_THAT(line("moveEmpty", "127.0.0.1:"), HasSubstr("online; retrieve: unknown: "));
  EXPECT_THAT(line("moveEmpty", "127.0.0.1:"), HasSubstr("holds nothing to retrieve"));
  EXPECT_THAT(line("getEmpty", "127.0.0.1:"), HasSubstr("online; retrieve: unknown: "));
  EXPECT_EQ(line("moveKnown", "127.0.0.1:"), "127.0.0.1: online; query: yes; retrieve: yes");
  EXPECT_EQ(line("getKnown", "127.0.0.1:"), "127.0.0.1: online; retrieve: yes");
  EXPECT_THAT(line("getRefused", "127.0.0.1:"),
              HasSubstr("online; retrieve: no: 127.0.0.1:" + a +
                        " refused the C-GET: it closed the association instead of answering. It most likely does not "
                        "allow AE title \"NOGET\" to retrieve"));
  EXPECT_THAT(line("moveStranger", "127.0.0.1:"),
              HasSubstr("online; retrieve: no: 127.0.0.1:" + b +
                        " refused the C-MOVE of an instance it holds (status 0xC000): most likely the peer does not "
                        "know STRANGER as a move destination; add STRANGER with this computer's address and port " +
                        port + " to its list of peers."));
  EXPECT_EQ(line("getStranger", "127.0.0.1:"), "127.0.0.1: online; retrieve: yes");
}

}  // namespace
