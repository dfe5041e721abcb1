// WadoSettings: what the application needs to fetch a node's images over WADO.
//
// The record only stores its values: it builds no URL, and `https` and `port` do not
// change `url`. Absent is distinct from the empty text and from 0 everywhere.
//
//   telvor::DicomNode node;                        // every node holds a default record
//   node.wadoSettings.url = "https://pacs.example.org/wado";
//   node.wadoSettings.port = 443;
//   auto saved = node.wadoSettings.toDictionary(); // "url", "port", "password", "username"
//   telvor::WadoSettings back(*saved);
//
// There is deliberately no public way to make one from nothing or from field values:
// take the one a node holds, or read one from a dictionary or a decoder (an empty
// dictionary gives the default record), then change its fields.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "telvor/coding/codable.hpp"
#include "telvor/coding/dictionary_form.hpp"
#include "telvor/coding/property_dictionary.hpp"
#include "telvor/coding/record_fields.hpp"
#include "telvor/telvor_export.hpp"
#include "telvor/vocabulary/supported_wado_transfer_syntax_type.hpp"

namespace telvor {

struct DicomNode;

struct TELVOR_API WadoSettings {
  std::optional<std::int64_t> port;   // TCP port of the WADO service; not range-checked
  std::optional<std::string> url;     // URL text; not interpreted
  std::optional<std::string> password;  // kept and persisted as plain text
  std::optional<std::string> username;
  SupportedWadoTransferSyntaxType retrieveSyntax = SupportedWadoTransferSyntaxType::explicitLittleEndian;
  bool https = false;                 // use HTTPS rather than HTTP

  // Reads "port" (integer), "url", "password" and "username" (texts); a missing entry or
  // one of another kind leaves that field absent. `retrieveSyntax` and `https` are not in
  // this form and keep their defaults. Never fails; other keys are ignored.
  explicit WadoSettings(const PropertyDictionary& dictionary);

  // The four keys above, always all four: an absent text is written as the empty text
  // and an absent port as 0. So this form is lossy: absent comes back empty or 0, and
  // `retrieveSyntax` and `https` come back at their defaults.
  DictionaryForm toDictionary() const;

  // Coded form: "port", "url", "password", "username" (each only when present),
  // "retrieveSyntax" (the code) and "https" (always written, required when read).
  // Lossless: reading what was written gives an equal record, absences included.
  void encode(Encoder& encoder) const;
  static WadoSettings decode(const Decoder& decoder);

  // All six fields equal, in field order; texts by canonical equivalence.
  friend TELVOR_API bool operator==(const WadoSettings& a, const WadoSettings& b) noexcept;

 private:
  friend struct DicomNode;
  WadoSettings() = default;
};

// The fields, once: coded keys, labels for people, members (record_fields.hpp).
template <>
struct FieldTable<WadoSettings> {
  static constexpr std::tuple fields{
      field("port", "WADO port", &WadoSettings::port),
      field("url", "WADO URL", &WadoSettings::url, FieldRole::url),
      field("password", "WADO password", &WadoSettings::password, FieldRole::secret),
      field("username", "WADO user", &WadoSettings::username),
      field("retrieveSyntax", "WADO syntax", &WadoSettings::retrieveSyntax),
      field("https", "HTTPS", &WadoSettings::https),
  };
};

}  // namespace telvor
