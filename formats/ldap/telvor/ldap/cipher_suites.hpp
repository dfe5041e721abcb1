// The TLS cipher suites a directory lists for a connection, and the TLS security profile
// they stand for.
//
//   auto suites = telvor::ldap::cipherSuitesOf(telvor::TLSSecurityProfile::profile4);
//   auto match = telvor::ldap::profileOfCipherSuites(suites);   // profile4, exact
//
// The directory names suites (IANA names), a node names a profile: one row per profile
// says which suites it is written as. Profiles 3 and 4 negotiate the same suites; the
// downgrading profile 3 also lists the AES-CBC suite older peers need, so the two stay
// apart. Profile 0 (TLS without a DICOM profile) has no suites of its own and is written
// as profile 4's.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "telvor/ldap/telvor_ldap_peers_export.hpp"
#include "telvor/vocabulary/tls_security_profile.hpp"

namespace telvor::ldap {

// The suites written for `profile`, in the row's order.
TELVOR_LDAP_API std::span<const std::string_view> cipherSuitesOf(TLSSecurityProfile profile) noexcept;

struct ProfileMatch {
  TLSSecurityProfile profile = TLSSecurityProfile::profile4;
  bool exact = false;  // the suites are exactly the profile's (order and "SSL_" spellings aside)
};

// The profile whose suites are exactly `suites`; else the one sharing the most suites with
// them (on a tie the smaller row, then the lower code), profile 4 when none shares any.
TELVOR_LDAP_API ProfileMatch profileOfCipherSuites(const std::vector<std::string>& suites);

}  // namespace telvor::ldap
