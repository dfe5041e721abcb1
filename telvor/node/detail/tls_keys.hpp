// Internal: the four TLS keys of the dictionary forms, shared by TlsSettings's own form
// and the node's flat form, which hold them identically.
#pragma once

#include <array>
#include <span>
#include <string_view>

#include "telvor/coding/property_dictionary.hpp"
#include "telvor/node/tls_settings.hpp"

namespace telvor::detail {

// The keys, in the order readTlsValues takes their values.
inline constexpr std::array<std::string_view, 4> kTlsKeys = {"TLSEnabled", "TLSSecurityProfile",
                                                             "TLSVerifyPeerCertificate",
                                                             "TLSAuthenticateWithCertificate"};

// Reads the keys into `settings`, each falling back to its field's default.
void readTlsKeys(const PropertyDictionary& dictionary, TlsSettings& settings);
// The same from the values found under kTlsKeys, in their order.
void readTlsValues(std::span<const PropertyValue* const, kTlsKeys.size()> values, TlsSettings& settings);

// Writes the four keys; absent settings are written as false, profile 0, false, false.
void writeTlsKeys(const TlsSettings* settings, PropertyDictionary& dictionary);

}  // namespace telvor::detail
