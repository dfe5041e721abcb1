#include "telvor/node/tls_settings.hpp"

#include <array>
#include <string_view>

#include "telvor/coding/decoder.hpp"
#include "telvor/coding/encoder.hpp"
#include "telvor/node/detail/tls_keys.hpp"

namespace telvor {
namespace {

enum class CodingKeys { isEnabled, securityProfile, verifyPeerCertificate, authenticateWithCertificate };
constexpr std::array<std::string_view, 4> codingKeyNames(CodingKeys) {
  return {"isEnabled", "securityProfile", "verifyPeerCertificate", "authenticateWithCertificate"};
}

}  // namespace

TlsSettings::TlsSettings(const PropertyDictionary& dictionary) { detail::readTlsKeys(dictionary, *this); }

DictionaryForm TlsSettings::toDictionary() const {
  PropertyDictionary dictionary;
  detail::writeTlsKeys(this, dictionary);
  return dictionary;
}

void TlsSettings::encode(Encoder& encoder) const {
  auto c = encoder.container<CodingKeys>();
  c.encode(isEnabled, CodingKeys::isEnabled);
  c.encode(securityProfile, CodingKeys::securityProfile);
  c.encode(verifyPeerCertificate, CodingKeys::verifyPeerCertificate);
  c.encode(authenticateWithCertificate, CodingKeys::authenticateWithCertificate);
}

TlsSettings TlsSettings::decode(const Decoder& decoder) {
  const auto c = decoder.container<CodingKeys>();
  TlsSettings settings;
  settings.isEnabled = c.decode<bool>(CodingKeys::isEnabled);
  settings.securityProfile = c.decode<TLSSecurityProfile>(CodingKeys::securityProfile);
  settings.verifyPeerCertificate = c.decode<bool>(CodingKeys::verifyPeerCertificate);
  settings.authenticateWithCertificate = c.decode<bool>(CodingKeys::authenticateWithCertificate);
  return settings;
}

}  // namespace telvor
