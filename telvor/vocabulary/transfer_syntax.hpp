// TransferSyntax: the DICOM transfer syntaxes an application can propose to a node.
//
// A coded enumeration with every operation: rawValue, fromRawValue, allCases, id, title,
// equality, hashing and the coded form (the bare code). Codes run from -1
// (EXS_Unknown, an ordinary case) to 41, one below the declaration position. Each case
// also carries its DICOM transfer syntax UID, for talking to a peer.
//
//   auto ts = telvor::TransferSyntax::EXS_LittleEndianExplicit;
//   telvor::rawValue(ts);                              // 2
//   telvor::title(ts);                                 // "Explicit VR Little Endian"
//   telvor::uid(ts);                                   // "1.2.840.10008.1.2.1"
//   telvor::transferSyntaxFromUid("1.2.840.10008.1.2.4.50");  // EXS_JPEGProcess1
//   telvor::fromRawValue<telvor::TransferSyntax>(42);  // std::nullopt
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "telvor/coding/coded_enum.hpp"

namespace telvor {

enum class TransferSyntax : std::int64_t {
  EXS_Unknown = -1,
  EXS_LittleEndianImplicit = 0,
  EXS_BigEndianImplicit = 1,
  EXS_LittleEndianExplicit = 2,
  EXS_BigEndianExplicit = 3,
  EXS_JPEGProcess1 = 4,
  EXS_JPEGProcess2_4 = 5,
  EXS_JPEGProcess3_5 = 6,
  EXS_JPEGProcess6_8 = 7,
  EXS_JPEGProcess7_9 = 8,
  EXS_JPEGProcess10_12 = 9,
  EXS_JPEGProcess11_13 = 10,
  EXS_JPEGProcess14 = 11,
  EXS_JPEGProcess15 = 12,
  EXS_JPEGProcess16_18 = 13,
  EXS_JPEGProcess17_19 = 14,
  EXS_JPEGProcess20_22 = 15,
  EXS_JPEGProcess21_23 = 16,
  EXS_JPEGProcess24_26 = 17,
  EXS_JPEGProcess25_27 = 18,
  EXS_JPEGProcess28 = 19,
  EXS_JPEGProcess29 = 20,
  EXS_JPEGProcess14SV1 = 21,
  EXS_RLELossless = 22,
  EXS_DeflatedLittleEndianExplicit = 23,
  EXS_JPEGLSLossless = 24,
  EXS_JPEGLSLossy = 25,
  EXS_JPEG2000LosslessOnly = 26,
  EXS_JPEG2000 = 27,
  EXS_JPEG2000MulticomponentLosslessOnly = 28,
  EXS_JPEG2000Multicomponent = 29,
  EXS_JPIPReferenced = 30,
  EXS_JPIPReferencedDeflate = 31,
  EXS_MPEG2MainProfileAtMainLevel = 32,
  EXS_MPEG2MainProfileAtHighLevel = 33,
  EXS_MPEG4HighProfileLevel4_1 = 34,
  EXS_MPEG4BDcompatibleHighProfileLevel4_1 = 35,
  EXS_MPEG4HighProfileLevel4_2_For2DVideo = 36,
  EXS_MPEG4HighProfileLevel4_2_For3DVideo = 37,
  EXS_MPEG4StereoHighProfileLevel4_2 = 38,
  EXS_HEVCMainProfileLevel5_1 = 39,
  EXS_HEVCMain10ProfileLevel5_1 = 40,
  EXS_PrivateGE_LEI_WithBigEndianPixelData = 41,
};

template <>
struct EnumTraits<TransferSyntax> {
  static constexpr std::string_view name = "TransferSyntax";
  static constexpr EnumFeatures features{.allCases = true, .id = true, .title = true, .codable = true};
  // Each row's fact is the DICOM UID naming the syntax on the wire; it is empty for
  // the two cases DICOM gives none: EXS_Unknown and EXS_BigEndianImplicit (implicit VR
  // exists only little endian).
  // Declaration order; the titles are the library's display texts, character for character;
  // the UIDs are those of the DICOM registry (the last one is GE's private syntax).
  static constexpr std::array<EnumRow<TransferSyntax, std::string_view>, 43> rows{{
      {TransferSyntax::EXS_Unknown, "Unknown",
       ""},
      {TransferSyntax::EXS_LittleEndianImplicit, "Implicit VR Little Endian",
       "1.2.840.10008.1.2"},
      {TransferSyntax::EXS_BigEndianImplicit, "Implicit VR Big Endian",
       ""},
      {TransferSyntax::EXS_LittleEndianExplicit, "Explicit VR Little Endian",
       "1.2.840.10008.1.2.1"},
      {TransferSyntax::EXS_BigEndianExplicit, "Explicit VR Big Endian",
       "1.2.840.10008.1.2.2"},
      {TransferSyntax::EXS_JPEGProcess1, "JPEG Baseline (lossy)",
       "1.2.840.10008.1.2.4.50"},
      {TransferSyntax::EXS_JPEGProcess2_4, "JPEG Extended Sequential (lossy, 8/12 bit)",
       "1.2.840.10008.1.2.4.51"},
      {TransferSyntax::EXS_JPEGProcess3_5, "JPEG Extended Sequential (lossy, 8/12 bit), arithmetic coding",
       "1.2.840.10008.1.2.4.52"},
      {TransferSyntax::EXS_JPEGProcess6_8, "JPEG Spectral Selection, Non-Hierarchical (lossy, 8/12 bit)",
       "1.2.840.10008.1.2.4.53"},
      {TransferSyntax::EXS_JPEGProcess7_9, "JPEG Spectral Selection, Non-Hierarchical (lossy, 8/12 bit), arithmetic coding",
       "1.2.840.10008.1.2.4.54"},
      {TransferSyntax::EXS_JPEGProcess10_12, "JPEG Full Progression, Non-Hierarchical (lossy, 8/12 bit)",
       "1.2.840.10008.1.2.4.55"},
      {TransferSyntax::EXS_JPEGProcess11_13, "JPEG Full Progression, Non-Hierarchical (lossy, 8/12 bit), arithmetic coding",
       "1.2.840.10008.1.2.4.56"},
      {TransferSyntax::EXS_JPEGProcess14, "JPEG Lossless with any selection value",
       "1.2.840.10008.1.2.4.57"},
      {TransferSyntax::EXS_JPEGProcess15, "JPEG Lossless with any selection value, arithmetic coding",
       "1.2.840.10008.1.2.4.58"},
      {TransferSyntax::EXS_JPEGProcess16_18, "JPEG Extended Sequential, Hierarchical (lossy, 8/12 bit)",
       "1.2.840.10008.1.2.4.59"},
      {TransferSyntax::EXS_JPEGProcess17_19, "JPEG Extended Sequential, Hierarchical (lossy, 8/12 bit), arithmetic coding",
       "1.2.840.10008.1.2.4.60"},
      {TransferSyntax::EXS_JPEGProcess20_22, "JPEG Spectral Selection, Hierarchical (lossy, 8/12 bit)",
       "1.2.840.10008.1.2.4.61"},
      {TransferSyntax::EXS_JPEGProcess21_23, "JPEG Spectral Selection, Hierarchical (lossy, 8/12 bit), arithmetic coding",
       "1.2.840.10008.1.2.4.62"},
      {TransferSyntax::EXS_JPEGProcess24_26, "JPEG Full Progression, Hierarchical (lossy, 8/12 bit)",
       "1.2.840.10008.1.2.4.63"},
      {TransferSyntax::EXS_JPEGProcess25_27, "JPEG Full Progression, Hierarchical (lossy, 8/12 bit), arithmetic coding",
       "1.2.840.10008.1.2.4.64"},
      {TransferSyntax::EXS_JPEGProcess28, "JPEG Lossless, Hierarchical",
       "1.2.840.10008.1.2.4.65"},
      {TransferSyntax::EXS_JPEGProcess29, "JPEG Lossless, Hierarchical, arithmetic coding",
       "1.2.840.10008.1.2.4.66"},
      {TransferSyntax::EXS_JPEGProcess14SV1, "JPEG Lossless, Selection Value 1",
       "1.2.840.10008.1.2.4.70"},
      {TransferSyntax::EXS_RLELossless, "Run Length Encoding (lossless)",
       "1.2.840.10008.1.2.5"},
      {TransferSyntax::EXS_DeflatedLittleEndianExplicit, "Deflated Explicit VR Little Endian",
       "1.2.840.10008.1.2.1.99"},
      {TransferSyntax::EXS_JPEGLSLossless, "JPEG-LS (lossless)",
       "1.2.840.10008.1.2.4.80"},
      {TransferSyntax::EXS_JPEGLSLossy, "JPEG-LS (lossless or near-lossless mode)",
       "1.2.840.10008.1.2.4.81"},
      {TransferSyntax::EXS_JPEG2000LosslessOnly, "JPEG 2000 (lossless)",
       "1.2.840.10008.1.2.4.90"},
      {TransferSyntax::EXS_JPEG2000, "JPEG 2000 (lossless or lossy)",
       "1.2.840.10008.1.2.4.91"},
      {TransferSyntax::EXS_JPEG2000MulticomponentLosslessOnly, "JPEG 2000 part 2 multi-component extensions (lossless)",
       "1.2.840.10008.1.2.4.92"},
      {TransferSyntax::EXS_JPEG2000Multicomponent, "JPEG 2000 part 2 multi-component extensions (lossless or lossy)",
       "1.2.840.10008.1.2.4.93"},
      {TransferSyntax::EXS_JPIPReferenced, "JPIP Referenced",
       "1.2.840.10008.1.2.4.94"},
      {TransferSyntax::EXS_JPIPReferencedDeflate, "JPIP Referenced Deflate",
       "1.2.840.10008.1.2.4.95"},
      {TransferSyntax::EXS_MPEG2MainProfileAtMainLevel, "MPEG2 Main Profile at Main Level",
       "1.2.840.10008.1.2.4.100"},
      {TransferSyntax::EXS_MPEG2MainProfileAtHighLevel, "MPEG2 Main Profile at High Level",
       "1.2.840.10008.1.2.4.101"},
      {TransferSyntax::EXS_MPEG4HighProfileLevel4_1, "MPEG4 High Profile / Level 4.1",
       "1.2.840.10008.1.2.4.102"},
      {TransferSyntax::EXS_MPEG4BDcompatibleHighProfileLevel4_1, "MPEG4 BD-compatible High Profile / Level 4.1",
       "1.2.840.10008.1.2.4.103"},
      {TransferSyntax::EXS_MPEG4HighProfileLevel4_2_For2DVideo, "MPEG4 High Profile / Level 4.2 For 2D Video",
       "1.2.840.10008.1.2.4.104"},
      {TransferSyntax::EXS_MPEG4HighProfileLevel4_2_For3DVideo, "MPEG4 High Profile / Level 4.2 For 3D Video",
       "1.2.840.10008.1.2.4.105"},
      {TransferSyntax::EXS_MPEG4StereoHighProfileLevel4_2, "MPEG4 Stereo High Profile / Level 4.2",
       "1.2.840.10008.1.2.4.106"},
      {TransferSyntax::EXS_HEVCMainProfileLevel5_1, "HEVC/H.265 Main Profile / Level 5.1",
       "1.2.840.10008.1.2.4.107"},
      {TransferSyntax::EXS_HEVCMain10ProfileLevel5_1, "HEVC/H.265 Main 10 Profile / Level 5.1",
       "1.2.840.10008.1.2.4.108"},
      {TransferSyntax::EXS_PrivateGE_LEI_WithBigEndianPixelData, "Private GE Little Endian Implicit with big endian pixel data",
       "1.2.840.113619.5.2"},
  }};
};

namespace detail {

inline constexpr auto& kTransferSyntaxRows = EnumTraits<TransferSyntax>::rows;

// The table is the single source of the codes: position p holds code p - 1.
constexpr bool codesFollowPositions() {
  for (std::size_t p = 0; p < kTransferSyntaxRows.size(); ++p)
    if (rawValue(kTransferSyntaxRows[p].value) != static_cast<std::int64_t>(p) - 1) return false;
  return true;
}
static_assert(codesFollowPositions(), "transfer syntax codes must run -1, 0, 1, ... in table order");

// A DICOM UID: at most 64 characters, dot-separated decimal components without leading
// zeros (a lone 0 is allowed).
constexpr bool isWellFormedUid(std::string_view uid) {
  if (uid.empty() || uid.size() > 64) return false;
  std::size_t componentStart = 0;
  for (std::size_t i = 0; i <= uid.size(); ++i) {
    if (i == uid.size() || uid[i] == '.') {
      const std::size_t length = i - componentStart;
      if (length == 0 || (length > 1 && uid[componentStart] == '0')) return false;
      componentStart = i + 1;
    } else if (uid[i] < '0' || uid[i] > '9') {
      return false;
    }
  }
  return true;
}

// Every UID is well formed and names one case only, so the reverse look-up is exact; only
// the two syntaxes DICOM never registered go without.
constexpr bool uidsAreWellFormedAndDistinct() {
  for (std::size_t p = 0; p < kTransferSyntaxRows.size(); ++p) {
    const bool registered =
        kTransferSyntaxRows[p].value != TransferSyntax::EXS_Unknown && kTransferSyntaxRows[p].value != TransferSyntax::EXS_BigEndianImplicit;
    if (registered != !kTransferSyntaxRows[p].fact.empty()) return false;
    if (registered && !isWellFormedUid(kTransferSyntaxRows[p].fact)) return false;
    for (std::size_t q = p + 1; q < kTransferSyntaxRows.size(); ++q)
      if (registered && kTransferSyntaxRows[p].fact == kTransferSyntaxRows[q].fact) return false;
  }
  return true;
}
static_assert(uidsAreWellFormedAndDistinct(), "transfer syntax UIDs must be well formed and distinct");

}  // namespace detail

// The case's DICOM transfer syntax UID, a view of static storage; the empty text for
// EXS_Unknown and EXS_BigEndianImplicit, which have none.
constexpr std::string_view uid(TransferSyntax value) noexcept {
  using Index = detail::EnumIndex<TransferSyntax>;
  const std::size_t p = Index::positionOf(rawValue(value));
  return p == Index::count ? std::string_view{} : Index::rows[p].fact;
}

// The case whose UID is `text`, or absent when no case has it (the empty text included).
// The comparison is exact, except that one trailing NUL, the padding DICOM adds to
// odd-length UIDs, is ignored.
constexpr std::optional<TransferSyntax> transferSyntaxFromUid(std::string_view text) noexcept {
  if (!text.empty() && text.back() == '\0') text.remove_suffix(1);
  if (text.empty()) return std::nullopt;
  for (const auto& row : EnumTraits<TransferSyntax>::rows)
    if (row.fact == text) return row.value;
  return std::nullopt;
}

}  // namespace telvor
