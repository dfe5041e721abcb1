#include "telvor/node/detail/tls_keys.hpp"

#include "telvor/node/detail/dictionary_reads.hpp"

namespace telvor::detail {
namespace {
constexpr std::string_view kEnabled = "TLSEnabled";
constexpr std::string_view kSecurityProfile = "TLSSecurityProfile";
constexpr std::string_view kVerifyPeer = "TLSVerifyPeerCertificate";
constexpr std::string_view kAuthenticate = "TLSAuthenticateWithCertificate";
}  // namespace

void readTlsKeys(const PropertyDictionary& dictionary, TlsSettings& settings) {
  const TlsSettings defaults;
  settings.isEnabled = dictionary.readBool(kEnabled).value_or(defaults.isEnabled);
  settings.securityProfile =
      readCode<TLSSecurityProfile>(dictionary, kSecurityProfile).value_or(defaults.securityProfile);
  settings.verifyPeerCertificate = dictionary.readBool(kVerifyPeer).value_or(defaults.verifyPeerCertificate);
  settings.authenticateWithCertificate =
      dictionary.readBool(kAuthenticate).value_or(defaults.authenticateWithCertificate);
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
