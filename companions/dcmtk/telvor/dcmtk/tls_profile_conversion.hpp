// TLSSecurityProfile and DCMTK's DcmTLSSecurityProfile, one to the other.
//
// A profile's code is the DCMTK enumerator of the same value, as the application's
// secure-transport layer (DCMTK) has always stored it:
//
//   code  TLSSecurityProfile  DcmTLSSecurityProfile         what DCMTK negotiates
//   0     profile0            TSP_Profile_None              no DICOM profile: no cipher suites
//                                                           of its own (see the probe)
//   1     profile1            TSP_Profile_Basic             retired Basic profile, 3DES
//   2     profile2            TSP_Profile_AES               retired AES profile
//   3     profile3            TSP_Profile_BCP195            BCP 195, may fall back to TLS 1.0
//   4     profile4            TSP_Profile_BCP195_ND         BCP 195 non-downgrading, TLS 1.2+
//   5     profile5            TSP_Profile_BCP195_Extended   extended BCP 195, TLS 1.2 only
//   -     (none)              TSP_Profile_IHE_ATNA_Unencrypted  retired, no encryption
//
// The seventh DCMTK profile, IHE ATNA's unencrypted one, has no case: it authenticates
// without encrypting, and no node uses it, so fromDcmtk gives absent for it.
// Note that current OpenSSL releases no longer offer the 3DES suite of profile1, the
// default of a new TlsSettings; DCMTK then refuses the profile (the probe says so).
//
//   DcmTLSSecurityProfile p = telvor::dcmtk::toDcmtk(node.tlsSettings->securityProfile);
#pragma once

#include <optional>

#include "dcmtk/config/osconfig.h"  // DCMTK wants its configuration before any of its headers
#include "dcmtk/dcmtls/tlsciphr.h"
#include "telvor/vocabulary/tls_security_profile.hpp"

namespace telvor::dcmtk {

// DCMTK's profile with the same code. Total.
constexpr DcmTLSSecurityProfile toDcmtk(TLSSecurityProfile value) noexcept {
  return static_cast<DcmTLSSecurityProfile>(rawValue(value));
}

// The library's profile with the same code, or absent for IHE ATNA's unencrypted profile
// (and any profile a later DCMTK release adds).
constexpr std::optional<TLSSecurityProfile> fromDcmtk(DcmTLSSecurityProfile value) noexcept {
  return fromRawValue<TLSSecurityProfile>(static_cast<std::int64_t>(value));
}

}  // namespace telvor::dcmtk
