// What the records' forms promise, written once for the property tests and the fuzz
// targets: what a record becomes after its dictionary form is written and read back, and
// equality that also demands the same bytes in every text (the records' own equality is
// canonical equivalence, which would let a format that normalises text pass unnoticed).
#pragma once

#include <optional>
#include <string>

#include "telvor/node/dicom_node.hpp"

namespace telvor::testing_support {

// WadoSettings(*s.toDictionary()): absent texts come back empty, an absent port 0, and
// the retrieve syntax and https, not in this form, at their defaults.
inline WadoSettings afterDictionaryRoundTrip(const WadoSettings& s) {
  WadoSettings back{PropertyDictionary{}};
  back.port = s.port.value_or(0);
  back.url = s.url.value_or("");
  back.password = s.password.value_or("");
  back.username = s.username.value_or("");
  return back;
}

// DicomNode(*n.toDictionary()) for a node whose toDictionary() is present, with the
// uniqueId the reading drew: identity fields, transfer syntax, retrieve mode and icon
// come back equal; isDicomNode true; isQueryable present (false only when it was false);
// TLS settings present (profile 0 and all flags false when they were absent); the WADO
// settings only in wado mode (an absent URL as "wado", absent credentials empty, an
// absent port 0), the defaults otherwise.
inline DicomNode afterDictionaryRoundTrip(const DicomNode& n, std::optional<UUID> drawnId) {
  DicomNode back = n;
  back.uniqueId = drawnId;
  back.isDicomNode = true;
  back.isQueryable = n.isQueryable != false;
  if (!n.tlsSettings) {
    back.tlsSettings = TlsSettings();
    back.tlsSettings->securityProfile = TLSSecurityProfile::profile0;
  }
  back.wadoSettings = WadoSettings(PropertyDictionary{});
  if (n.retrieveMode == RetrieveModeType::wado) {
    back.wadoSettings = n.wadoSettings;
    back.wadoSettings.port = n.wadoSettings.port.value_or(0);
    back.wadoSettings.url = n.wadoSettings.url.value_or("wado");
    back.wadoSettings.password = n.wadoSettings.password.value_or("");
    back.wadoSettings.username = n.wadoSettings.username.value_or("");
  }
  return back;
}

inline bool sameBytes(const WadoSettings& a, const WadoSettings& b) {
  return a == b && a.url == b.url && a.password == b.password && a.username == b.username;
}

inline bool sameBytes(const DicomNode& a, const DicomNode& b) {
  return a == b && a.aetitle == b.aetitle && a.name == b.name && a.address == b.address && a.port == b.port &&
         a.icon == b.icon && sameBytes(a.wadoSettings, b.wadoSettings);
}

}  // namespace telvor::testing_support
