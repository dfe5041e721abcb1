#include "telvor/node/detail/tls_keys.hpp"

#include <string>

#include "telvor/node/detail/dictionary_reads.hpp"
#include "telvor/node/detail/key_set.hpp"

namespace telvor::detail {
namespace {
constexpr std::string_view kEnabled = kTlsKeys[0];
constexpr std::string_view kSecurityProfile = kTlsKeys[1];
constexpr std::string_view kVerifyPeer = kTlsKeys[2];
constexpr std::string_view kAuthenticate = kTlsKeys[3];
constexpr KeySet kKeys(kTlsKeys);
}  // namespace

void readTlsKeys(const PropertyDictionary& dictionary, TlsSettings& settings) {
  readTlsValues(kKeys.find(dictionary), settings);
}

void readTlsValues(std::span<const PropertyValue* const, kTlsKeys.size()> values, TlsSettings& settings) {
  const TlsSettings defaults;
  settings.isEnabled = readBool(values[0]).value_or(defaults.isEnabled);
  settings.securityProfile = readCode<TLSSecurityProfile>(values[1]).value_or(defaults.securityProfile);
  settings.verifyPeerCertificate = readBool(values[2]).value_or(defaults.verifyPeerCertificate);
  settings.authenticateWithCertificate = readBool(values[3]).value_or(defaults.authenticateWithCertificate);
}

void writeTlsKeys(const TlsSettings* settings, PropertyDictionary& dictionary) {
  dictionary.setValue(std::string(kEnabled), PropertyValue::boolean(settings && settings->isEnabled));
  dictionary.setValue(std::string(kSecurityProfile),
                      PropertyValue::integer(settings ? rawValue(settings->securityProfile) : 0));
  dictionary.setValue(std::string(kVerifyPeer), PropertyValue::boolean(settings && settings->verifyPeerCertificate));
  dictionary.setValue(std::string(kAuthenticate),
                      PropertyValue::boolean(settings && settings->authenticateWithCertificate));
}

}  // namespace telvor::detail
