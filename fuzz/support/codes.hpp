// The codes each coded enumeration accepts, written out here independently of the
// enumerations' own tables so that the fuzz targets can check those tables' lookups.
#pragma once

#include <cstdint>

namespace telvor::fuzz {

constexpr bool isTransferSyntaxCode(std::int64_t c) noexcept { return c >= -1 && c <= 41; }
constexpr bool isRetrieveModeCode(std::int64_t c) noexcept { return c >= 0 && c <= 2; }
constexpr bool isTlsProfileCode(std::int64_t c) noexcept { return c >= 0 && c <= 5; }
constexpr bool isWadoSyntaxCode(std::int64_t c) noexcept {
  return (c >= 0 && c <= 5) || c == 9 || (c >= 13 && c <= 16);
}

}  // namespace telvor::fuzz
