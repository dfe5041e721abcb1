// Internal: the four TLS keys of the dictionary forms, shared by TlsSettings's own form
// and the node's flat form, which hold them identically.
#pragma once

#include "telvor/coding/property_dictionary.hpp"
#include "telvor/node/tls_settings.hpp"

namespace telvor::detail {

// Reads each key on its own into `settings`, falling back to the field's default.
void readTlsKeys(const PropertyDictionary& dictionary, TlsSettings& settings);

// Writes the four keys; absent settings are written as false, profile 0, false, false.
void writeTlsKeys(const TlsSettings* settings, PropertyDictionary& dictionary);

}  // namespace telvor::detail
