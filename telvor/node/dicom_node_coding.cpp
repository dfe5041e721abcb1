// The node's keyed coded form.
#include <array>
#include <string_view>

#include "telvor/coding/decoder.hpp"
#include "telvor/coding/encoder.hpp"
#include "telvor/node/dicom_node.hpp"

namespace telvor {
namespace {

enum class CodingKeys {
  uniqueId, aetitle, name, address, port, transferSyntax,
  retrieveMode, isDicomNode, isQueryable, wadoSettings, icon, tlsSettings,
};
constexpr std::array<std::string_view, 12> codingKeyNames(CodingKeys) {
  return {"uniqueId",     "aetitle",     "name",         "address",      "port", "transferSyntax",
          "retrieveMode", "isDicomNode", "isQueryable", "wadoSettings", "icon", "tlsSettings"};
}

}  // namespace

void DicomNode::encode(Encoder& encoder) const {
  auto c = encoder.container<CodingKeys>();
  c.encodeIfPresent(uniqueId, CodingKeys::uniqueId);
  c.encodeIfPresent(aetitle, CodingKeys::aetitle);
  c.encodeIfPresent(name, CodingKeys::name);
  c.encodeIfPresent(address, CodingKeys::address);
  c.encodeIfPresent(port, CodingKeys::port);
  c.encode(transferSyntax, CodingKeys::transferSyntax);
  c.encode(retrieveMode, CodingKeys::retrieveMode);
  c.encode(isDicomNode, CodingKeys::isDicomNode);
  c.encodeIfPresent(isQueryable, CodingKeys::isQueryable);
  c.encode(wadoSettings, CodingKeys::wadoSettings);
  c.encodeIfPresent(icon, CodingKeys::icon);
  c.encodeIfPresent(tlsSettings, CodingKeys::tlsSettings);
}

DicomNode DicomNode::decode(const Decoder& decoder) {
  const auto c = decoder.container<CodingKeys>();
  DicomNode node{Blank{}};
  node.uniqueId = c.decodeIfPresent<UUID>(CodingKeys::uniqueId);
  node.aetitle = c.decodeIfPresent<std::string>(CodingKeys::aetitle);
  node.name = c.decodeIfPresent<std::string>(CodingKeys::name);
  node.address = c.decodeIfPresent<std::string>(CodingKeys::address);
  node.port = c.decodeIfPresent<std::string>(CodingKeys::port);
  node.transferSyntax = c.decode<TransferSyntax>(CodingKeys::transferSyntax);
  node.retrieveMode = c.decode<RetrieveModeType>(CodingKeys::retrieveMode);
  node.isDicomNode = c.decode<bool>(CodingKeys::isDicomNode);
  node.isQueryable = c.decodeIfPresent<bool>(CodingKeys::isQueryable);
  node.wadoSettings = c.decode<WadoSettings>(CodingKeys::wadoSettings);
  node.icon = c.decodeIfPresent<std::string>(CodingKeys::icon);
  node.tlsSettings = c.decodeIfPresent<TlsSettings>(CodingKeys::tlsSettings);
  return node;
}

}  // namespace telvor
