// AssociationNumberType: how many DICOM associations to open to a node at once.
//
// A coded enumeration whose code is the count itself (1, 2 or 4), not the position:
// rawValue, fromRawValue, allCases, id, title, equality and hashing. It has no coded form;
// no record of the library holds one.
//
//   auto n = telvor::AssociationNumberType::four;
//   telvor::rawValue(n);                                   // 4 (its position is 2)
//   telvor::title(telvor::AssociationNumberType::one);     // "single"
//   telvor::fromRawValue<telvor::AssociationNumberType>(3);  // std::nullopt
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "telvor/coding/coded_enum.hpp"

namespace telvor {

enum class AssociationNumberType : std::int64_t {
  one = 1,
  two = 2,
  four = 4,
};

template <>
struct EnumTraits<AssociationNumberType> {
  static constexpr std::string_view name = "AssociationNumberType";
  static constexpr EnumFeatures features{.allCases = true, .id = true, .title = true, .codable = false};
  static constexpr std::array<EnumRow<AssociationNumberType>, 3> rows{{
      {AssociationNumberType::one, "single"},
      {AssociationNumberType::two, "2 associations"},
      {AssociationNumberType::four, "4 associations"},
  }};
};

}  // namespace telvor
