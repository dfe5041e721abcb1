// The keyed coded form of DicomNodeStatus: one entry named after the case, holding a
// keyed container with the case's payload by label.
#include <array>
#include <string_view>

#include "telvor/coding/coding_error.hpp"
#include "telvor/coding/decoder.hpp"
#include "telvor/coding/encoder.hpp"
#include "telvor/status/dicom_node_status.hpp"

namespace telvor {
namespace {

// The case keys. Their order is not that of the ids.
enum class CodingKeys { unknown, accessable, inaccessible };
constexpr std::array<std::string_view, 3> codingKeyNames(CodingKeys) {
  return {"unknown", "accessable", "inaccessible"};
}

enum class UnknownCodingKeys { reason };
constexpr std::array<std::string_view, 1> codingKeyNames(UnknownCodingKeys) { return {"reason"}; }

// accessable carries nothing: its container has no keys and any entries in it are ignored.
// Since nothing is ever looked up in it, its names are only seen by the key concept.
enum class AccessableCodingKeys {};
[[maybe_unused]] constexpr std::array<std::string_view, 0> codingKeyNames(AccessableCodingKeys) { return {}; }

enum class InaccessibleCodingKeys { reason };
constexpr std::array<std::string_view, 1> codingKeyNames(InaccessibleCodingKeys) { return {"reason"}; }

}  // namespace

void DicomNodeStatus::encode(Encoder& encoder) const {
  auto c = encoder.container<CodingKeys>();
  switch (kind_) {
    case Kind::unknown:
      c.nestedContainer<UnknownCodingKeys>(CodingKeys::unknown).encode(reason_, UnknownCodingKeys::reason);
      return;
    case Kind::inaccessible:
      c.nestedContainer<InaccessibleCodingKeys>(CodingKeys::inaccessible)
          .encode(reason_, InaccessibleCodingKeys::reason);
      return;
    case Kind::accessable:
      c.nestedContainer<AccessableCodingKeys>(CodingKeys::accessable);  // the empty container is the entry
      return;
  }
}

DicomNodeStatus DicomNodeStatus::decode(const Decoder& decoder) {
  const auto c = decoder.container<CodingKeys>();
  const auto keys = c.allKeys();
  if (keys.size() != 1)
    throw DecodingError::typeMismatch(
        "DicomNodeStatus", {c.codingPath(), "Invalid number of keys found, expected one.", nullptr});
  switch (keys.front()) {
    case CodingKeys::unknown:
      return unknown(c.nestedContainer<UnknownCodingKeys>(CodingKeys::unknown)
                         .decode<std::string>(UnknownCodingKeys::reason));
    case CodingKeys::accessable:
      c.nestedContainer<AccessableCodingKeys>(CodingKeys::accessable);  // must be a keyed container
      return accessable();
    case CodingKeys::inaccessible:
      break;
  }
  return inaccessible(c.nestedContainer<InaccessibleCodingKeys>(CodingKeys::inaccessible)
                          .decode<std::string>(InaccessibleCodingKeys::reason));
}

}  // namespace telvor
