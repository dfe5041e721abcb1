// A private OpenLDAP server for tests: a scratch cn=config (mdb backend) loaded with the
// project's DICOM schema and the test's entries, serving ldap:// (and ldaps:// with a
// throw-away certificate) on loopback, stopped by its PID with the fixture.
//
//   Slapd server(kEntries);                  // LDIF below dc=example,dc=org
//   if (!server.ready()) GTEST_SKIP() << server.problem();
//   run("import --from ldap " + server.url() + " -o nodes.json");
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "support/child_process.hpp"
#include "support/free_port.hpp"
#include "support/scratch_files.hpp"

namespace telvor::testing_support {

struct SlapdOptions {
  bool tls = false;                 // also serve ldaps:// and StartTLS, with a certificate for 127.0.0.1
  std::vector<std::string> access;  // olcAccess rules, in order (default: everyone reads)
};

class Slapd {
 public:
  using Options = SlapdOptions;
  static constexpr const char* kBase = "dc=example,dc=org";
  static constexpr const char* kRootDn = "cn=admin,dc=example,dc=org";
  static constexpr const char* kRootPassword = "Kq7-ant1-secret";

  // `entries`: LDIF of the entries below the base (the base entry is made here).
  explicit Slapd(const std::string& entries) : Slapd(entries, Options()) {}
  Slapd(const std::string& entries, const Options& options) {
    const std::string slapd = findProgram("slapd"), slapadd = findProgram("slapadd");
    if (slapd.empty() || slapadd.empty()) {
      problem_ = "slapd or slapadd is not installed (Debian: slapd)";
      return;
    }
    const fs::path config = dir_ / "config", db = dir_ / "db";
    fs::create_directories(config);
    fs::create_directories(db);
    std::string tlsConfig;
    if (options.tls) {
      if (!makeCertificate()) {
        problem_ = "openssl could not make a certificate (see " + (dir_ / "openssl.log").string() + ")";
        return;
      }
      tlsConfig = "olcTLSCertificateFile: " + (dir_ / "server.pem").string() +
                  "\nolcTLSCertificateKeyFile: " + (dir_ / "server.key").string() + "\n";
    }
    std::string access;
    for (std::size_t i = 0; i < options.access.size(); ++i)
      access += "olcAccess: {" + std::to_string(i) + "}" + options.access[i] + "\n";
    if (access.empty()) access = "olcAccess: {0}to * by * read\n";
    spit(dir_ / "config.ldif",
         "dn: cn=config\nobjectClass: olcGlobal\ncn: config\n" + tlsConfig +
             "\ndn: cn=module{0},cn=config\nobjectClass: olcModuleList\ncn: module{0}\n"
             "olcModulePath: /usr/lib/ldap\nolcModuleLoad: back_mdb\n"
             "\ndn: cn=schema,cn=config\nobjectClass: olcSchemaConfig\ncn: schema\n"
             "\ninclude: file:///etc/ldap/schema/core.ldif\n"
             "\ninclude: file://" TELVOR_SOURCE_DIR "/formats/ldap/schema/dicom.ldif\n"
             "\ndn: olcDatabase={1}mdb,cn=config\nobjectClass: olcDatabaseConfig\nobjectClass: olcMdbConfig\n"
             "olcDatabase: {1}mdb\nolcSuffix: " + std::string(kBase) + "\nolcRootDN: " + kRootDn +
             "\nolcRootPW: " + kRootPassword + "\nolcDbDirectory: " + db.string() +
             "\nolcDbMaxSize: 1073741824\nolcLimits: {0}* size.prtotal=unlimited\n" + access);
    spit(dir_ / "data.ldif", "dn: " + std::string(kBase) + "\nobjectClass: dcObject\nobjectClass: organization\n"
                             "dc: example\no: Example\n\n" + entries);
    if (!runProgram({slapadd, "-n0", "-F", config.string(), "-l", (dir_ / "config.ldif").string()}, dir_ / "slapadd0.log") ||
        !runProgram({slapadd, "-q", "-n1", "-F", config.string(), "-l", (dir_ / "data.ldif").string()}, dir_ / "slapadd1.log")) {
      problem_ = "slapadd refused the configuration or the entries: " + slurp(dir_ / "slapadd0.log") +
                 slurp(dir_ / "slapadd1.log");
      return;
    }
    // A port can be taken between choosing and binding it: a few tries.
    for (int attempt = 0; attempt < 3 && !ready_; ++attempt) {
      port_ = freePort();
      tlsPort_ = options.tls ? freePort() : 0;
      std::string listen = "ldap://127.0.0.1:" + std::to_string(port_) + "/";
      if (options.tls) listen += " ldaps://127.0.0.1:" + std::to_string(tlsPort_) + "/";
      process_.emplace(std::vector<std::string>{slapd, "-F", config.string(), "-h", listen, "-d", "0"}, dir_ / "slapd.log");
      ready_ = process_->started() && waitUntilListening(port_, *process_) &&
               (!options.tls || waitUntilListening(tlsPort_, *process_));
      if (!ready_) process_.reset();
    }
    if (!ready_) problem_ = "slapd did not start: " + slurp(dir_ / "slapd.log");
  }

  bool ready() const { return ready_; }
  const std::string& problem() const { return problem_; }
  std::uint16_t port() const { return port_; }
  // ldap://127.0.0.1:PORT/dc=example,dc=org
  std::string url() const { return "ldap://127.0.0.1:" + std::to_string(port_) + "/" + kBase; }
  std::string tlsUrl() const { return "ldaps://127.0.0.1:" + std::to_string(tlsPort_) + "/" + kBase; }
  // The certificate clients trust (with Options::tls).
  fs::path certificate() const { return dir_ / "server.pem"; }
  const fs::path& dir() const { return dir_.path(); }

 private:
  bool makeCertificate() {
    const std::string openssl = findProgram("openssl");
    return !openssl.empty() &&
           runProgram({openssl, "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", (dir_ / "server.key").string(),
                       "-out", (dir_ / "server.pem").string(), "-days", "1", "-subj", "/CN=127.0.0.1", "-addext",
                       "subjectAltName=IP:127.0.0.1"},
                      dir_ / "openssl.log");
  }

  ScratchDir dir_;
  std::optional<ChildProcess> process_;
  std::uint16_t port_ = 0, tlsPort_ = 0;
  bool ready_ = false;
  std::string problem_;
};

}  // namespace telvor::testing_support
