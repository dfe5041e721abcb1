// A site's DICOM configuration directory over LDAP: its network AEs read as nodes, and
// nodes written to it as devices.
//
//   telvor::ldap::DirectoryAccess access;
//   access.url = "ldaps://ldap.example.org/dc=example,dc=org";
//   access.caFile = "/etc/ssl/site-ca.pem";
//   telvor::peers::PeerList list = telvor::ldap::importDirectory(access);   // anonymous
//
//   access.bindDn = "cn=admin,dc=example,dc=org";
//   access.password = readSecret();                  // never logged, never in an error
//   auto written = telvor::ldap::exportDirectory(access, nodes);
//
// The configuration is found as the "cn=DICOM Configuration" entry (class
// dicomConfigurationRoot) under the URL's base DN; devices are read below its
// "cn=Devices" with paged searches, so a directory's size limit does not cut them short.
// What the nodes are made of, and what is left out, is configuration_mapping.hpp's.
// Answers are held to DirectoryLimits. The calls block, each network wait bounded by
// `timeout`; nothing is logged.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "telvor/ldap/directory_entry.hpp"
#include "telvor/ldap/telvor_ldap_peers_export.hpp"
#include "telvor/peers/peer_list.hpp"

namespace telvor::ldap {

struct DirectoryAccess {
  std::string url;                     // ldap:// or ldaps://HOST[:PORT]/BASE-DN
  std::optional<std::string> bindDn;   // simple bind with `password`; absent: anonymous
  std::string password;
  std::optional<std::string> caFile;   // PEM certificates trusted for ldaps:// and StartTLS
  bool startTls = false;               // ldap:// upgraded with StartTLS before binding
  std::chrono::milliseconds timeout{10'000};
  int pageSize = 500;
  DirectoryLimits limits;
};

// Why a directory could not be used. The message names the server and what to do; it
// never holds the password.
class TELVOR_LDAP_API DirectoryError : public std::runtime_error {
 public:
  enum class Kind {
    badAddress,    // the URL cannot be used (not ldap:// or ldaps://, no base DN)
    unreachable,   // no connection, TLS failed, or the server stopped answering
    refused,       // the bind was refused (wrong DN or password), or the server refused an operation
    notFound,      // no DICOM configuration under the base DN
    badAnswer,     // an answer beyond DirectoryLimits, or malformed
  };
  DirectoryError(Kind kind, const std::string& message) : std::runtime_error(message), kind_(kind) {}
  Kind kind() const noexcept { return kind_; }

 private:
  Kind kind_;
};

// The nodes of the configuration's usable network AEs and the losses of reading them
// (configuration_mapping.hpp). Throws DirectoryError.
TELVOR_LDAP_API peers::PeerList importDirectory(const DirectoryAccess& access);

// Reads every entry of the configuration below "cn=Devices", for callers that map them
// themselves. Throws DirectoryError.
TELVOR_LDAP_API std::vector<DirectoryEntry> readConfiguration(const DirectoryAccess& access);

struct DirectoryExport {
  std::vector<peers::PeerLoss> losses;  // fields not carried, and nodes whose writes were refused
  std::size_t added = 0;                // devices made
  std::size_t updated = 0;              // devices written again in place
  std::size_t refused = 0;              // nodes the directory refused (left as they were)
};

// What writing `nodes` loses, without writing: the losses exportDirectory reports for
// fields. Throws peers::PeerFormatError naming the first node that cannot be written at
// all (no AE title, address or port).
TELVOR_LDAP_API std::vector<peers::PeerLoss> directoryExportLosses(std::span<const DicomNode> nodes);

// Writes each node as a device (entriesForNode) under the configuration, creating the
// configuration's roots when missing; a device of the same name is updated in place. A
// node whose writes the directory refuses is put back as it was and reported as a loss;
// the others are still written. Throws peers::PeerFormatError before writing anything when
// a node cannot be written at all, and DirectoryError when the directory cannot be used.
TELVOR_LDAP_API DirectoryExport exportDirectory(const DirectoryAccess& access, std::span<const DicomNode> nodes);

}  // namespace telvor::ldap
