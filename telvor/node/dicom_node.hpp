// DicomNode: the configuration of one remote DICOM peer the application exchanges
// studies with.
//
//   telvor::DicomNode node(104);                  // port "104", everything else default
//   node.aetitle = "ARCHIVE";
//   node.name = "Main archive";
//   node.address = "10.0.0.5";
//   node.tlsCertificateID("org.example.viewer");  // "org.example.viewer.dicomtlsclient.10.0.0.5.104.ARCHIVE"
//
//   auto saved = node.toDictionary();             // the settings store's flat form, or
//                                                 // absent while AE title, name, address
//                                                 // or port is missing
//   telvor::DicomNode fromStore(*saved);          // lenient: never fails
//   std::string json = telvor::json::encode(node);               // strict keyed form
//   auto back = telvor::json::decode<telvor::DicomNode>(json);   // == node
//
// A value: copied on assignment, compared field by field (texts by canonical
// equivalence), never shared. No hashing, no ordering.
//
// Dictionary form (settings store). Twenty keys always: "AETitle", "Port",
// "Description" (the name), "Address" (texts); "isDicomNode" (boolean);
// "transferSyntax", "retrieveMode" (number objects holding codes); "QR", "Send",
// "Activated" (always true, never read); "WADOPort" (integer, 0 when absent),
// "WADOTransferSyntax" (number object), "WADOUrl" ("wado" when absent), "WADOPassword",
// "WADOUsername" (empty when absent), "WADOhttps" (integer 1 or 0); "TLSEnabled",
// "TLSSecurityProfile" (integer), "TLSVerifyPeerCertificate",
// "TLSAuthenticateWithCertificate" (written false, 0, false, false for a node without TLS
// settings). Then "isQueryable" (the text "0", only when false) and "icon" (only when
// present). Reading falls back per key and is deliberately asymmetric with writing:
// - `uniqueId` is not stored: a read node gets a new random one;
// - `isDicomNode` is true whenever the key is present, whatever its value;
// - `isQueryable` is false only for the text "0", true otherwise (also when missing);
// - the six WADO keys are read only when the retrieve mode read is `wado`;
// - TLS settings are always present after reading ("TLSSecurityProfile" falls back to
//   profile 1 for a missing or unknown code);
// - "Port" must be text; an integer there reads as an absent port.
//
// Coded form (any Encoder/Decoder): twelve keys named after the fields, in field order;
// the eight optional fields are left out when absent; "wadoSettings" and "tlsSettings"
// nest their records' coded forms. Reading is strict, raises the first error unchanged,
// and never invents a field: no fresh identifier, no default TLS settings.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "telvor/coding/codable.hpp"
#include "telvor/coding/dictionary_form.hpp"
#include "telvor/coding/property_dictionary.hpp"
#include "telvor/coding/record_fields.hpp"
#include "telvor/node/tls_settings.hpp"
#include "telvor/node/wado_settings.hpp"
#include "telvor/platform/uuid.hpp"
#include "telvor/telvor_export.hpp"
#include "telvor/vocabulary/retrieve_mode_type.hpp"
#include "telvor/vocabulary/transfer_syntax.hpp"

namespace telvor {

struct TELVOR_API DicomNode {
  std::optional<UUID> uniqueId;        // identity; a new node draws a random one
  std::optional<std::string> aetitle;  // the peer's application entity title
  std::optional<std::string> name;     // display name ("Description" in the dictionary form)
  std::optional<std::string> address;  // network address
  std::optional<std::string> port;     // port number as decimal text, never an integer
  TransferSyntax transferSyntax = TransferSyntax::EXS_LittleEndianExplicit;
  RetrieveModeType retrieveMode = RetrieveModeType::cget;
  bool isDicomNode = true;             // stored, compared and persisted; not interpreted
  std::optional<bool> isQueryable;     // three states: absent, false, true
  WadoSettings wadoSettings;           // never absent
  std::optional<std::string> icon;     // the icon's name
  std::optional<TlsSettings> tlsSettings = TlsSettings();

  // A node with every field at its default and a new random `uniqueId`.
  DicomNode();
  // The same, with `port` holding the integer's decimal text ("104", "-1"); no range check.
  explicit DicomNode(std::int64_t port);
  // Reads the dictionary form (see above). Never fails.
  explicit DicomNode(const PropertyDictionary& dictionary);

  // The identity for lists: `uniqueId`'s canonical text, or the empty text when absent.
  std::string id() const;

  // The identifier of the node's TLS client certificate: the application's reverse-domain
  // identifier, ".dicomtlsclient.", address, ".", port, ".", AE title; an absent field
  // contributes the empty text.
  std::string tlsCertificateID(std::string_view applicationIdentifier) const;

  // The dictionary form, or absent when AE title, name, address or port is absent.
  DictionaryForm toDictionary() const;

  void encode(Encoder& encoder) const;
  static DicomNode decode(const Decoder& decoder);

  // All twelve fields equal, compared in field order; texts by canonical equivalence,
  // absent never equal to present.
  friend TELVOR_API bool operator==(const DicomNode& a, const DicomNode& b) noexcept;

 private:
  struct Blank {};
  // Every field at its default except `uniqueId`, which is absent: the start of decoding,
  // which must not draw random identifiers it is about to overwrite.
  explicit DicomNode(Blank) noexcept;
};

// The fields, once: coded keys, labels for people, members (record_fields.hpp). A new
// field is one row here (and its keys in the dictionary form, which is written by hand).
template <>
struct FieldTable<DicomNode> {
  static constexpr std::tuple fields{
      field("uniqueId", "Identifier", &DicomNode::uniqueId, FieldRole::identity),
      field("aetitle", "AE title", &DicomNode::aetitle),
      field("name", "Name", &DicomNode::name),
      field("address", "Address", &DicomNode::address),
      field("port", "Port", &DicomNode::port),
      field("transferSyntax", "Transfer syntax", &DicomNode::transferSyntax),
      field("retrieveMode", "Retrieve", &DicomNode::retrieveMode),
      field("isDicomNode", "DICOM node", &DicomNode::isDicomNode),
      field("isQueryable", "Queryable", &DicomNode::isQueryable),
      field("wadoSettings", "WADO settings", &DicomNode::wadoSettings),
      field("icon", "Icon", &DicomNode::icon),
      field("tlsSettings", "TLS settings", &DicomNode::tlsSettings),
  };
};

}  // namespace telvor
