// One LDAP entry as a directory answered it, and the bounds on what an answer may hold.
//
//   telvor::ldap::DirectoryEntry device{"dicomDeviceName=pacs1,cn=Devices,...", {}};
//   device.attributes["dicominstalled"] = {"TRUE"};
//   device.first("dicomInstalled");                      // "TRUE": names match in any case
//   telvor::ldap::normalizedDn("CN=Dicom, dicomDeviceName=pacs1");  // "cn=dicom,dicomdevicename=pacs1"
//
// A directory is another party: its entries are untrusted input. Readers hold them to
// DirectoryLimits and the mapping never assumes an attribute is present or well formed.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "telvor/ldap/telvor_ldap_peers_export.hpp"

namespace telvor::ldap {

struct DirectoryEntry {
  std::string dn;
  std::map<std::string, std::vector<std::string>> attributes;  // names in lower case

  // The values of attribute `name` (any letter case); empty when absent.
  TELVOR_LDAP_API const std::vector<std::string>& values(std::string_view name) const;
  // The first value of `name`, if any.
  TELVOR_LDAP_API std::optional<std::string> first(std::string_view name) const;
  // Whether objectClass lists `objectClass` (compared without regard to case).
  TELVOR_LDAP_API bool hasClass(std::string_view objectClass) const;
};

// What a reader accepts from a directory before it gives up with an error.
struct DirectoryLimits {
  std::size_t maxEntries = 1'000'000;        // entries in one read of the configuration
  std::size_t maxValuesPerAttribute = 1024;  // values of one attribute of one entry
  std::size_t maxValueBytes = 64 * 1024;     // bytes of one value
  std::size_t maxDnBytes = 4096;             // bytes of one DN
};

// `dn` in a form two spellings of one name share: RDNs trimmed, separators without
// spaces, ASCII letters in lower case. Escapes are kept as written.
TELVOR_LDAP_API std::string normalizedDn(std::string_view dn);

// `dn` without its first RDN (empty for a single RDN).
TELVOR_LDAP_API std::string parentDn(std::string_view dn);

// `value` escaped for the value of an RDN (RFC 4514): `,+"\<>;=`, a leading '#' or space,
// a trailing space and NUL are escaped.
TELVOR_LDAP_API std::string escapeDnValue(std::string_view value);

// Whether `value` is LDAP's Boolean TRUE or FALSE; absent for anything else.
TELVOR_LDAP_API std::optional<bool> ldapBoolean(const std::optional<std::string>& value) noexcept;

}  // namespace telvor::ldap
