// TlsSettings: a node's TLS options. Configuration only; the library performs no TLS.
//
//   telvor::TlsSettings tls;                       // off, profile1, no verification
//   tls.isEnabled = true;
//   auto saved = tls.toDictionary();               // "TLSEnabled", "TLSSecurityProfile", ...
//   telvor::TlsSettings back(*saved);              // == tls
//   std::string json = telvor::json::encode(tls);  // {"isEnabled":true,"securityProfile":1,...}
//
// Two persisted forms. The dictionary form is lenient: each of its four keys falls back
// to the field's default on its own when missing or of another kind. The coded form is
// strict: every key is required and the first error is raised.
#pragma once

#include <optional>

#include "telvor/coding/codable.hpp"
#include "telvor/coding/dictionary_form.hpp"
#include "telvor/coding/property_dictionary.hpp"
#include "telvor/coding/record_fields.hpp"
#include "telvor/telvor_export.hpp"
#include "telvor/vocabulary/tls_security_profile.hpp"

namespace telvor {

struct TELVOR_API TlsSettings {
  bool isEnabled = false;                                       // connections use TLS
  TLSSecurityProfile securityProfile = TLSSecurityProfile::profile1;  // profile to apply
  bool verifyPeerCertificate = false;                           // verify the peer's certificate
  bool authenticateWithCertificate = false;                     // present a certificate of our own

  TlsSettings() = default;

  // Reads "TLSEnabled", "TLSSecurityProfile", "TLSVerifyPeerCertificate" and
  // "TLSAuthenticateWithCertificate". Never fails: a missing or mistyped entry gives the
  // field's default, and so does a profile code outside 0 to 5. Other keys are ignored.
  explicit TlsSettings(const PropertyDictionary& dictionary);

  // The four keys above: booleans, and the profile's code as an integer. Always present.
  DictionaryForm toDictionary() const;

  // Coded form: "isEnabled", "securityProfile" (the code), "verifyPeerCertificate",
  // "authenticateWithCertificate", all written and all required when read.
  void encode(Encoder& encoder) const;
  static TlsSettings decode(const Decoder& decoder);

  // All four fields equal, compared in field order.
  friend bool operator==(const TlsSettings&, const TlsSettings&) = default;
};

// The fields, once: coded keys, labels for people, members (record_fields.hpp).
template <>
struct FieldTable<TlsSettings> {
  static constexpr std::tuple fields{
      field("isEnabled", "TLS", &TlsSettings::isEnabled),
      field("securityProfile", "TLS profile", &TlsSettings::securityProfile),
      field("verifyPeerCertificate", "Verify peer", &TlsSettings::verifyPeerCertificate),
      field("authenticateWithCertificate", "Client certificate", &TlsSettings::authenticateWithCertificate),
  };
};

}  // namespace telvor
