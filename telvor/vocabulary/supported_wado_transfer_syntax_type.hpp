// SupportedWadoTransferSyntaxType: the encodings a node's WADO service can be asked for.
//
// A coded enumeration with every operation, plus toTransferSyntax(). The codes are not
// positions: 0 to 5, then 9 and 13 to 16 (6 to 8 and 10 to 12 belong to no case).
//
//   auto s = telvor::SupportedWadoTransferSyntaxType::implicitLittleEndian;
//   telvor::rawValue(s);          // 9
//   telvor::title(s);             // "Implicit Little Endian"
//   telvor::toTransferSyntax(s);  // TransferSyntax::EXS_LittleEndianImplicit
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "telvor/coding/coded_enum.hpp"
#include "telvor/vocabulary/transfer_syntax.hpp"

namespace telvor {

enum class SupportedWadoTransferSyntaxType : std::int64_t {
  explicitLittleEndian = 0,
  jpeg2000Lossless = 1,
  jpeg2000LossyGoodQuality = 2,
  jpeg2000LossyMediumQuality = 3,
  jpeg2000LossyLowQuality = 4,
  jpegLossless = 5,
  implicitLittleEndian = 9,
  jpeg2000LSLossless = 13,
  jpeg2000LSLossyGoodQuality = 14,
  jpeg2000LSLossyMediumQuality = 15,
  jpeg2000LSLossyLowQuality = 16,
};

template <>
struct EnumTraits<SupportedWadoTransferSyntaxType> {
  using W = SupportedWadoTransferSyntaxType;
  using T = TransferSyntax;
  static constexpr std::string_view name = "SupportedWadoTransferSyntaxType";
  static constexpr EnumFeatures features{.allCases = true, .id = true, .title = true, .codable = true};
  // Each row's fact is the transfer syntax the case stands for. Several cases stand for
  // one: the three lossy grades of each family share theirs, and "JPEG LS Lossless"
  // stands for JPEG 2000 lossless, as stored data has always had it.
  static constexpr std::array<EnumRow<SupportedWadoTransferSyntaxType, TransferSyntax>, 11> rows{{
      {W::explicitLittleEndian, "Explicit Little Endian", T::EXS_LittleEndianExplicit},
      {W::jpeg2000Lossless, "JPEG 2000 Lossless", T::EXS_JPEG2000LosslessOnly},
      {W::jpeg2000LossyGoodQuality, "JPEG 2000 Lossy - Good Quality", T::EXS_JPEG2000},
      {W::jpeg2000LossyMediumQuality, "JPEG 2000 Lossy - Medium Quality", T::EXS_JPEG2000},
      {W::jpeg2000LossyLowQuality, "JPEG 2000 Lossy - Low Quality", T::EXS_JPEG2000},
      {W::jpegLossless, "JPEG Lossless", T::EXS_JPEGLSLossless},
      {W::implicitLittleEndian, "Implicit Little Endian", T::EXS_LittleEndianImplicit},
      {W::jpeg2000LSLossless, "JPEG LS Lossless", T::EXS_JPEG2000LosslessOnly},
      {W::jpeg2000LSLossyGoodQuality, "JPEG LS Lossy - Good Quality", T::EXS_JPEGLSLossy},
      {W::jpeg2000LSLossyMediumQuality, "JPEG LS Lossy - Medium Quality", T::EXS_JPEGLSLossy},
      {W::jpeg2000LSLossyLowQuality, "JPEG LS Lossy - Low Quality", T::EXS_JPEGLSLossy},
  }};
};

namespace detail {
// Codes rise with position, so the picker's order is also code order; a new case takes
// a fresh code above the last, since stored settings hold the code.
constexpr bool wadoCodesRise() {
  const auto& rows = EnumTraits<SupportedWadoTransferSyntaxType>::rows;
  for (std::size_t p = 1; p < rows.size(); ++p)
    if (rawValue(rows[p].value) <= rawValue(rows[p - 1].value)) return false;
  return true;
}
static_assert(wadoCodesRise(), "WADO retrieve syntax codes must rise in table order");
}  // namespace detail

// The transfer syntax that the retrieve syntax stands for. Total.
constexpr TransferSyntax toTransferSyntax(SupportedWadoTransferSyntaxType value) noexcept {
  using Index = detail::EnumIndex<SupportedWadoTransferSyntaxType>;
  const std::size_t p = Index::positionOf(rawValue(value));
  return p == Index::count ? TransferSyntax::EXS_Unknown : Index::rows[p].fact;
}

}  // namespace telvor
