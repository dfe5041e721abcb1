#include "telvor/node/tls_settings.hpp"

#include "telvor/coding/record_fields_coding.hpp"
#include "telvor/node/detail/tls_keys.hpp"

namespace telvor {
namespace {

// A member added to the record but not to its table stops this compiling.
[[maybe_unused]] void everyMemberHasARow(const TlsSettings& settings) {
  [[maybe_unused]] const auto& [isEnabled, securityProfile, verifyPeerCertificate, authenticateWithCertificate] =
      settings;
  static_assert(fieldCount<TlsSettings> == 4);
}

}  // namespace

TlsSettings::TlsSettings(const PropertyDictionary& dictionary) { detail::readTlsKeys(dictionary, *this); }

DictionaryForm TlsSettings::toDictionary() const {
  PropertyDictionary dictionary;
  detail::writeTlsKeys(this, dictionary);
  return dictionary;
}

void TlsSettings::encode(Encoder& encoder) const { encodeFields(*this, encoder); }

TlsSettings TlsSettings::decode(const Decoder& decoder) {
  TlsSettings settings;
  decodeFields(decoder, settings);
  return settings;
}

}  // namespace telvor
