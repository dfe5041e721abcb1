// RetrieveModeType: how studies are fetched from a node (C-MOVE, C-GET or WADO).
//
// A coded enumeration with every operation; the code is the position, 0 to 2.
//
//   telvor::title(telvor::RetrieveModeType::wado);         // "WADO"
//   telvor::fromRawValue<telvor::RetrieveModeType>(3);    // std::nullopt
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "telvor/coding/coded_enum.hpp"

namespace telvor {

enum class RetrieveModeType : std::int64_t {
  cmove = 0,  // the DICOM C-MOVE service
  cget = 1,   // the DICOM C-GET service; what a new node uses
  wado = 2,   // web access (WADO) with the node's WADO settings
};

template <>
struct EnumTraits<RetrieveModeType> {
  static constexpr std::string_view name = "RetrieveModeType";
  static constexpr EnumFeatures features{.allCases = true, .id = true, .title = true, .codable = true};
  static constexpr std::array<EnumRow<RetrieveModeType>, 3> rows{{
      {RetrieveModeType::cmove, "CMOVE"},
      {RetrieveModeType::cget, "CGET"},
      {RetrieveModeType::wado, "WADO"},
  }};
};

// Stored nodes hold the code, and the code is the position: fromRawValue is a bounds test.
static_assert(codesArePositions<RetrieveModeType>, "retrieve mode codes are their positions");

}  // namespace telvor
