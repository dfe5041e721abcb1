// The node's keyed coded form, from its field table.
#include "telvor/coding/record_fields_coding.hpp"
#include "telvor/node/dicom_node.hpp"

namespace telvor {
namespace {

// A member added to the record but not to its table stops this compiling.
[[maybe_unused]] void everyMemberHasARow(const DicomNode& node) {
  [[maybe_unused]] const auto& [uniqueId, aetitle, name, address, port, transferSyntax, retrieveMode, isDicomNode,
                                isQueryable, wadoSettings, icon, tlsSettings] = node;
  static_assert(fieldCount<DicomNode> == 12);
}

}  // namespace

void DicomNode::encode(Encoder& encoder) const { encodeFields(*this, encoder); }

DicomNode DicomNode::decode(const Decoder& decoder) {
  DicomNode node{Blank{}};
  decodeFields(decoder, node);
  return node;
}

}  // namespace telvor
