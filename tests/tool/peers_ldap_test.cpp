// telvor-nodes import --from ldap and export --to ldap against a real slapd: which AEs
// become nodes and why the others do not, export then import, updates in place, refused
// writes, paged reads past the server's size limit, TLS, and errors that never show the
// password.
#include <gtest/gtest.h>

#include <netinet/in.h>
#include <sys/socket.h>

#include <fstream>
#include <thread>

#include "telvor/catalogue/catalogue.hpp"
#include "support/peer_nodes.hpp"
#include "support/slapd.hpp"
#include "telvor/ldap/directory.hpp"
#include "tool/tool_fixture.hpp"

namespace telvor::tool_test {
namespace {

using testing_support::Slapd;

constexpr const char* kConfig = "cn=DICOM Configuration,dc=example,dc=org";

// LDIF of a device: its attribute lines, and its children as (RDN, attribute lines).
std::string deviceLdif(const std::string& name, const std::string& lines,
                       const std::vector<std::pair<std::string, std::string>>& children) {
  const std::string dn = "dicomDeviceName=" + name + ",cn=Devices," + kConfig;
  std::string out = "dn: " + dn + "\nobjectClass: dicomDevice\ndicomDeviceName: " + name + "\n" + lines + "\n";
  for (const auto& [rdn, attributes] : children) out += "dn: " + rdn + "," + dn + "\n" + attributes + "\n";
  return out;
}

std::string connection(const std::string& cn, const std::string& more) {
  return "objectClass: dicomNetworkConnection\ncn: " + cn + "\ndicomHostname: " + cn + ".example.org\n" + more;
}

std::string ae(const std::string& device, const std::string& title, const std::vector<std::string>& connections,
               const std::string& more = "") {
  std::string out = "objectClass: dicomNetworkAE\ndicomAETitle: " + title +
                    "\ndicomAssociationInitiator: TRUE\ndicomAssociationAcceptor: TRUE\n";
  for (const auto& cn : connections)
    out += "dicomNetworkConnectionReference: cn=" + cn + ",dicomDeviceName=" + device + ",cn=Devices," + kConfig + "\n";
  return out + more;
}

std::string roots() {
  return std::string("dn: ") + kConfig + "\nobjectClass: dicomConfigurationRoot\ncn: DICOM Configuration\n\n" +
         "dn: cn=Devices," + kConfig + "\nobjectClass: dicomDevicesRoot\ncn: Devices\n\n" +
         "dn: cn=Unique AE Titles Registry," + kConfig + "\nobjectClass: dicomUniqueAETitlesRegistryRoot\n" +
         "cn: Unique AE Titles Registry\n\n";
}

constexpr const char* kProfile4 =
    "dicomTLSCipherSuite: TLS_ECDHE_RSA_WITH_AES_128_GCM_SHA256\ndicomTLSCipherSuite: TLS_ECDHE_RSA_WITH_AES_256_GCM_SHA384\n"
    "dicomTLSCipherSuite: TLS_DHE_RSA_WITH_AES_128_GCM_SHA256\ndicomTLSCipherSuite: TLS_DHE_RSA_WITH_AES_256_GCM_SHA384\n";

// A site: usable AEs (plain, TLS, inherited flags, UTF-8 description) and one of each
// kind a viewer cannot use.
std::string site() {
  return roots() +
         deviceLdif("archive", "dicomInstalled: TRUE\n",
                    {{"cn=dicom", connection("dicom", "dicomPort: 11112\n")},
                     {"cn=dicom-tls", connection("dicom-tls", std::string("dicomPort: 2762\n") + kProfile4)},
                     {"dicomAETitle=ARCHIVE",
                      ae("archive", "ARCHIVE", {"dicom", "dicom-tls"}, "dicomDescription: Archiv Köln – Süd\n")}}) +
         deviceLdif("secure", "dicomInstalled: TRUE\ndicomDescription: Sicheres Archiv\n",
                    {{"cn=tls", connection("tls", std::string("dicomPort: 2762\n") + kProfile4)},
                     {"dicomAETitle=SECURE", ae("secure", "SECURE", {"tls"})}}) +
         deviceLdif("retired", "dicomInstalled: FALSE\n",
                    {{"cn=dicom", connection("dicom", "dicomPort: 104\n")},
                     {"dicomAETitle=RETIRED", ae("retired", "RETIRED", {"dicom"})}}) +
         deviceLdif("ward", "dicomInstalled: TRUE\n",
                    {{"cn=dicom", connection("dicom", "dicomPort: 104\n")},
                     {"dicomAETitle=WARD", ae("ward", "WARD", {"dicom"}, "dicomInstalled: FALSE\n")},
                     {"dicomAETitle=WARD2", ae("ward", "WARD2", {"dicom"}, "dicomInstalled: TRUE\n")}}) +
         deviceLdif("modality", "dicomInstalled: TRUE\n",
                    {{"cn=dicom", connection("dicom", "dicomPort: 104\n")},
                     {"dicomAETitle=CT1", ae("modality", "CT1", {"dicom"}, "")}}) +
         deviceLdif("viewer", "dicomInstalled: TRUE\n",
                    {{"cn=dicom", connection("dicom", "")},  // outbound only
                     {"dicomAETitle=VIEWER", ae("viewer", "VIEWER", {"dicom"})}}) +
         deviceLdif("spare", "dicomInstalled: TRUE\n",
                    {{"cn=dicom", connection("dicom", "dicomPort: 104\ndicomInstalled: FALSE\n")},
                     {"dicomAETitle=SPARE", ae("spare", "SPARE", {"dicom"})}});
}

class LdapPeers : public ToolTest {
 protected:
  // Starts slapd with `entries`; false (and the test skipped) when it cannot run here.
  bool start(const std::string& entries, const Slapd::Options& options = Slapd::Options()) {
    server_.emplace(entries, options);
    return server_->ready();
  }
  std::string passwordFile(const std::string& password = Slapd::kRootPassword) const {
    spit(scratch_ / "password", password + "\n");
    return scratch("password");
  }
  std::string bind() const {
    return std::string("--bind-dn '") + Slapd::kRootDn + "' --password-file '" + passwordFile() + "'";
  }
  void writeCatalogue(const std::string& name, const std::vector<DicomNode>& nodes) const {
    auto catalogue = catalogue::Catalogue::empty(catalogue::FileFormat::json);
    for (const auto& node : nodes) catalogue.append(node);
    spit(scratch_ / name, catalogue.serialize());
  }
  std::vector<DicomNode> nodesOf(const std::string& name) const {
    return catalogue::Catalogue::load(scratch(name)).nodes();
  }

  std::optional<Slapd> server_;
};

#define START_OR_SKIP(...) \
  if (!start(__VA_ARGS__)) GTEST_SKIP() << server_->problem()

TEST_F(LdapPeers, ImportsExactlyTheUsableAesAndSaysWhyForEachOther) {
  // The modality accepts nothing: make its AE say so.
  std::string entries = site();
  const auto at = entries.find("dicomAETitle: CT1\ndicomAssociationInitiator: TRUE\ndicomAssociationAcceptor: TRUE");
  ASSERT_NE(at, std::string::npos);
  entries.replace(entries.find("dicomAssociationAcceptor: TRUE", at), 30, "dicomAssociationAcceptor: FALSE");
  START_OR_SKIP(entries);

  const auto r = run("import --from ldap '" + server_->url() + "' -o '" + scratch("site.json") + "'");
  ASSERT_EQ(r.status, 0) << r.err;
  const auto nodes = nodesOf("site.json");
  ASSERT_EQ(nodes.size(), 3u) << r.err;
  EXPECT_EQ(nodes[0].name, "Archiv Köln – Süd");
  EXPECT_EQ(nodes[0].aetitle, "ARCHIVE");
  EXPECT_EQ(nodes[0].address, "dicom.example.org");
  EXPECT_EQ(nodes[0].port, "11112");
  EXPECT_FALSE(nodes[0].tlsSettings->isEnabled);
  EXPECT_EQ(nodes[1].name, "Sicheres Archiv");  // the device's description
  EXPECT_EQ(nodes[1].port, "2762");
  EXPECT_TRUE(nodes[1].tlsSettings->isEnabled);
  EXPECT_EQ(nodes[1].tlsSettings->securityProfile, TLSSecurityProfile::profile4);
  EXPECT_EQ(nodes[2].aetitle, "WARD2");

  for (const char* why : {"\"ARCHIVE\": dicomNetworkConnectionReference: \"dicom-tls\" -> not carried",
                          "\"CT1\" (not imported): dicomAssociationAcceptor: FALSE: accepts no associations",
                          "\"RETIRED\" (not imported): dicomInstalled: device not installed", "\"WARD\" (not imported): dicomInstalled: FALSE",
                          "\"VIEWER\" (not imported): dicomNetworkConnectionReference: connection \"dicom\" has no port (outbound only)",
                          "\"SPARE\" (not imported): dicomNetworkConnectionReference: connection \"dicom\" not installed"})
    EXPECT_NE(r.err.find(why), std::string::npos) << why << "\n" << r.err;
  EXPECT_NE(r.err.find("3 node(s) added"), std::string::npos) << r.err;

  // --strict: the same directory is refused, and nothing is written.
  const auto strict = run("import --strict --from ldap '" + server_->url() + "' -o '" + scratch("strict.json") + "'");
  EXPECT_EQ(strict.status, 1);
  EXPECT_FALSE(fs::exists(scratch_ / "strict.json"));
}

TEST_F(LdapPeers, ExportThenImportGivesTheNodesBackAndReexportUpdatesInPlace) {
  START_OR_SKIP("");  // an empty directory: the export makes the configuration's roots
  std::vector<DicomNode> given = {testing_support::peerNode("PACS Zürich", "PACS", "pacs.example.org", "11112"),
                                   testing_support::peerNode("Secure", "TLSPACS", "tls.example.org", "2762")};
  given[1].tlsSettings->isEnabled = true;
  given[1].tlsSettings->securityProfile = TLSSecurityProfile::profile5;
  writeCatalogue("given.json", given);

  const auto first = run("export --to ldap '" + scratch("given.json") + "' -o '" + server_->url() + "' " + bind());
  ASSERT_EQ(first.status, 0) << first.err;
  EXPECT_NE(first.err.find("2 device(s) added, 0 updated, 0 refused"), std::string::npos) << first.err;
  const auto again = run("export --to ldap '" + scratch("given.json") + "' -o '" + server_->url() + "' " + bind());
  ASSERT_EQ(again.status, 0) << again.err;
  EXPECT_NE(again.err.find("0 device(s) added, 2 updated"), std::string::npos) << again.err;

  ASSERT_EQ(run("import --from ldap '" + server_->url() + "' -o '" + scratch("back.json") + "'").status, 0);
  auto back = nodesOf("back.json");
  ASSERT_EQ(back.size(), given.size());
  for (std::size_t i = 0; i < given.size(); ++i) {
    back[i].uniqueId = given[i].uniqueId;
    EXPECT_EQ(back[i], given[i]) << i;
  }
  // Each AE title registered once, however often exported.
  ldap::DirectoryAccess access;
  access.url = server_->url();
  std::size_t devices = 0;
  for (const auto& e : ldap::readConfiguration(access)) devices += e.hasClass("dicomDevice");
  EXPECT_EQ(devices, 2u);
}

TEST_F(LdapPeers, ARefusedWriteLeavesThatNodeAsItWasAndTheOthersAreWritten) {
  const std::string writer = "cn=writer,dc=example,dc=org";
  START_OR_SKIP(roots() + "dn: " + writer + "\nobjectClass: person\ncn: writer\nsn: w\nuserPassword: w-pass\n\n" +
                    deviceLdif("locked", "dicomInstalled: TRUE\n",
                               {{"cn=dicom", connection("dicom", "dicomPort: 104\n")},
                                {"dicomAETitle=LOCKED", ae("locked", "LOCKED", {"dicom"})}}),
                {.tls = false, .access = {"to dn.subtree=\"dicomDeviceName=locked,cn=Devices," + std::string(kConfig) + "\" by * read",
                            "to dn.regex=\"^cn=dicom,dicomDeviceName=halfway,.*\" by * read",
                            "to * by dn.exact=\"" + writer + "\" write by * read"}});
  writeCatalogue("nodes.json", {testing_support::peerNode("locked", "LOCKED", "elsewhere.example.org", "4242"),
                                 testing_support::peerNode("halfway", "HALF", "half.example.org", "104"),
                                 testing_support::peerNode("free", "FREE", "free.example.org", "104")});
  const auto r = run("export --to ldap '" + scratch("nodes.json") + "' -o '" + server_->url() + "' --bind-dn '" + writer +
                     "' --password-file '" + passwordFile("w-pass") + "'");
  EXPECT_EQ(r.status, 4) << r.err;
  EXPECT_NE(r.err.find("node 1 \"locked\": node: updating"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("node 2 \"halfway\": node: adding \"cn=dicom,dicomDeviceName=halfway"), std::string::npos) << r.err;
  EXPECT_NE(r.err.find("1 device(s) added, 0 updated, 2 refused"), std::string::npos) << r.err;

  ASSERT_EQ(run("import --from ldap '" + server_->url() + "' -o '" + scratch("after.json") + "'").status, 0);
  const auto after = nodesOf("after.json");
  ASSERT_EQ(after.size(), 2u);  // the half-made device was taken back
  EXPECT_EQ(after[0].aetitle, "FREE");
  EXPECT_EQ(after[1].aetitle, "LOCKED");
  EXPECT_EQ(after[1].address, "dicom.example.org");  // as it was
}

TEST_F(LdapPeers, PagedReadsGoPastTheServersSizeLimit) {
  std::string entries = roots();
  for (int i = 0; i < 600; ++i) {  // 1,800 entries; slapd answers 500 per plain search
    const std::string name = "d" + std::to_string(i);
    entries += deviceLdif(name, "dicomInstalled: TRUE\n",
                          {{"cn=dicom", connection("dicom", "dicomPort: 104\n")},
                           {"dicomAETitle=A" + std::to_string(i), ae(name, "A" + std::to_string(i), {"dicom"})}});
  }
  START_OR_SKIP(entries);
  const auto r = run("import --from ldap '" + server_->url() + "' -o '" + scratch("many.json") + "'");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(nodesOf("many.json").size(), 600u);
}

TEST_F(LdapPeers, TlsByLdapsAndStartTlsTrustsOnlyTheGivenCertificate) {
  START_OR_SKIP(site(), {.tls = true, .access = {}});
  const std::string ca = " --ca-file '" + server_->certificate().string() + "'";
  const auto ldaps = run("import --from ldap '" + server_->tlsUrl() + "'" + ca + " -o '" + scratch("a.json") + "'");
  EXPECT_EQ(ldaps.status, 0) << ldaps.err;
  const auto startTls = run("import --from ldap '" + server_->url() + "' --starttls" + ca + " -o '" + scratch("b.json") + "'");
  EXPECT_EQ(startTls.status, 0) << startTls.err;
  EXPECT_EQ(slurp(scratch_ / "a.json").empty(), false);

  // Without the certificate the server is not trusted, and nothing is written.
  const auto untrusted = run("import --from ldap '" + server_->tlsUrl() + "' --ca-file /etc/ssl/certs/ca-certificates.crt -o '" +
                             scratch("c.json") + "'");
  EXPECT_EQ(untrusted.status, 3) << untrusted.err;
  EXPECT_FALSE(fs::exists(scratch_ / "c.json"));
}

// A TCP listener on loopback that never answers: a bind to it waits until the tool's timeout.
struct MuteListener {
  int fd = ::socket(AF_INET, SOCK_STREAM, 0);
  std::uint16_t port = 0;
  MuteListener() {
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t n = sizeof a;
    if (::bind(fd, reinterpret_cast<sockaddr*>(&a), n) == 0 && ::listen(fd, 4) == 0 &&
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&a), &n) == 0)
      port = ntohs(a.sin_port);
  }
  ~MuteListener() { ::close(fd); }
};

// Whether any process's command line holds `text`.
bool inProcessList(const std::string& text) {
  for (const auto& p : fs::directory_iterator("/proc")) {
    const std::string cmdline = slurp(p.path() / "cmdline");
    if (cmdline.find(text) != std::string::npos) return true;
  }
  return false;
}

TEST_F(LdapPeers, FailuresAreClearNonZeroAndNeverShowThePassword) {
  START_OR_SKIP(site());
  const std::string secret = "Wr0ng-but-secret";
  const std::string wrong = std::string("--bind-dn '") + Slapd::kRootDn + "' --password-file '" + passwordFile(secret) + "'";
  const auto closedPort = "ldap://127.0.0.1:" + std::to_string(testing_support::freePort()) + "/dc=example,dc=org";
  struct Case {
    std::string args;
    int status;
    const char* says;
  } cases[] = {
      {"import --from ldap '" + server_->url() + "' " + wrong + " -o '" + scratch("x.json") + "'", 3, "refused: Invalid credentials"},
      {"import --from ldap '" + closedPort + "' -o '" + scratch("x.json") + "'", 3, "Can't contact LDAP server"},
      {"import --from ldap 'ldap://127.0.0.1:" + std::to_string(server_->port()) + "/dc=nowhere' -o '" + scratch("x.json") + "'",
       3, "no \"cn=DICOM Configuration\""},
      {"export --to ldap '" + data("nodes.json") + "' -o '" + server_->url() + "' " + wrong, 4, "Invalid credentials"},
      {"export --to ldap '" + data("nodes.json") + "' -o '" + closedPort + "' " + wrong, 4, "Can't contact LDAP server"},
      {"import --from ldap '" + server_->url() + "' --bind-dn cn=x", 2, "--bind-dn and --password-file go together"},
      {"export --to ldap '" + data("nodes.json") + "'", 2, "-o ldap://HOST:PORT/BASE-DN"},
  };
  for (const auto& c : cases) {
    const auto r = run(c.args);
    EXPECT_EQ(r.status, c.status) << c.args << "\n" << r.err;
    EXPECT_NE(r.err.find(c.says), std::string::npos) << c.args << "\n" << r.err;
    EXPECT_EQ((r.out + r.err).find(secret), std::string::npos) << r.err;
    EXPECT_FALSE(fs::exists(scratch_ / "x.json"));
  }

  // While the tool waits on a server that never answers, its command line holds no password.
  MuteListener mute;
  ASSERT_NE(mute.port, 0);
  std::thread tool([&] {
    run("import --from ldap 'ldap://127.0.0.1:" + std::to_string(mute.port) + "/dc=example,dc=org' --timeout 3 " + wrong);
  });
  bool seen = false, running = false;
  for (int i = 0; i < 100 && !running; ++i) {  // up to 2 s for it to start
    running = inProcessList("--password-file");
    seen = seen || inProcessList(secret);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  seen = seen || inProcessList(secret);
  tool.join();
  EXPECT_TRUE(running);
  EXPECT_FALSE(seen);
}

}  // namespace
}  // namespace telvor::tool_test
