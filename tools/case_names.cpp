#include "case_names.hpp"

#include <array>
#include <charconv>
#include <string>

namespace telvor::tool {
namespace {

using T = TransferSyntax;
using W = SupportedWadoTransferSyntaxType;

template <class E>
struct Named {
  E value;
  std::string_view name;
};

constexpr std::array<Named<T>, 43> kTransferSyntaxNames{{
    {T::EXS_Unknown, "EXS_Unknown"},
    {T::EXS_LittleEndianImplicit, "EXS_LittleEndianImplicit"},
    {T::EXS_BigEndianImplicit, "EXS_BigEndianImplicit"},
    {T::EXS_LittleEndianExplicit, "EXS_LittleEndianExplicit"},
    {T::EXS_BigEndianExplicit, "EXS_BigEndianExplicit"},
    {T::EXS_JPEGProcess1, "EXS_JPEGProcess1"},
    {T::EXS_JPEGProcess2_4, "EXS_JPEGProcess2_4"},
    {T::EXS_JPEGProcess3_5, "EXS_JPEGProcess3_5"},
    {T::EXS_JPEGProcess6_8, "EXS_JPEGProcess6_8"},
    {T::EXS_JPEGProcess7_9, "EXS_JPEGProcess7_9"},
    {T::EXS_JPEGProcess10_12, "EXS_JPEGProcess10_12"},
    {T::EXS_JPEGProcess11_13, "EXS_JPEGProcess11_13"},
    {T::EXS_JPEGProcess14, "EXS_JPEGProcess14"},
    {T::EXS_JPEGProcess15, "EXS_JPEGProcess15"},
    {T::EXS_JPEGProcess16_18, "EXS_JPEGProcess16_18"},
    {T::EXS_JPEGProcess17_19, "EXS_JPEGProcess17_19"},
    {T::EXS_JPEGProcess20_22, "EXS_JPEGProcess20_22"},
    {T::EXS_JPEGProcess21_23, "EXS_JPEGProcess21_23"},
    {T::EXS_JPEGProcess24_26, "EXS_JPEGProcess24_26"},
    {T::EXS_JPEGProcess25_27, "EXS_JPEGProcess25_27"},
    {T::EXS_JPEGProcess28, "EXS_JPEGProcess28"},
    {T::EXS_JPEGProcess29, "EXS_JPEGProcess29"},
    {T::EXS_JPEGProcess14SV1, "EXS_JPEGProcess14SV1"},
    {T::EXS_RLELossless, "EXS_RLELossless"},
    {T::EXS_DeflatedLittleEndianExplicit, "EXS_DeflatedLittleEndianExplicit"},
    {T::EXS_JPEGLSLossless, "EXS_JPEGLSLossless"},
    {T::EXS_JPEGLSLossy, "EXS_JPEGLSLossy"},
    {T::EXS_JPEG2000LosslessOnly, "EXS_JPEG2000LosslessOnly"},
    {T::EXS_JPEG2000, "EXS_JPEG2000"},
    {T::EXS_JPEG2000MulticomponentLosslessOnly, "EXS_JPEG2000MulticomponentLosslessOnly"},
    {T::EXS_JPEG2000Multicomponent, "EXS_JPEG2000Multicomponent"},
    {T::EXS_JPIPReferenced, "EXS_JPIPReferenced"},
    {T::EXS_JPIPReferencedDeflate, "EXS_JPIPReferencedDeflate"},
    {T::EXS_MPEG2MainProfileAtMainLevel, "EXS_MPEG2MainProfileAtMainLevel"},
    {T::EXS_MPEG2MainProfileAtHighLevel, "EXS_MPEG2MainProfileAtHighLevel"},
    {T::EXS_MPEG4HighProfileLevel4_1, "EXS_MPEG4HighProfileLevel4_1"},
    {T::EXS_MPEG4BDcompatibleHighProfileLevel4_1, "EXS_MPEG4BDcompatibleHighProfileLevel4_1"},
    {T::EXS_MPEG4HighProfileLevel4_2_For2DVideo, "EXS_MPEG4HighProfileLevel4_2_For2DVideo"},
    {T::EXS_MPEG4HighProfileLevel4_2_For3DVideo, "EXS_MPEG4HighProfileLevel4_2_For3DVideo"},
    {T::EXS_MPEG4StereoHighProfileLevel4_2, "EXS_MPEG4StereoHighProfileLevel4_2"},
    {T::EXS_HEVCMainProfileLevel5_1, "EXS_HEVCMainProfileLevel5_1"},
    {T::EXS_HEVCMain10ProfileLevel5_1, "EXS_HEVCMain10ProfileLevel5_1"},
    {T::EXS_PrivateGE_LEI_WithBigEndianPixelData, "EXS_PrivateGE_LEI_WithBigEndianPixelData"},
}};

constexpr std::array<Named<W>, 11> kWadoSyntaxNames{{
    {W::explicitLittleEndian, "explicitLittleEndian"},
    {W::jpeg2000Lossless, "jpeg2000Lossless"},
    {W::jpeg2000LossyGoodQuality, "jpeg2000LossyGoodQuality"},
    {W::jpeg2000LossyMediumQuality, "jpeg2000LossyMediumQuality"},
    {W::jpeg2000LossyLowQuality, "jpeg2000LossyLowQuality"},
    {W::jpegLossless, "jpegLossless"},
    {W::implicitLittleEndian, "implicitLittleEndian"},
    {W::jpeg2000LSLossless, "jpeg2000LSLossless"},
    {W::jpeg2000LSLossyGoodQuality, "jpeg2000LSLossyGoodQuality"},
    {W::jpeg2000LSLossyMediumQuality, "jpeg2000LSLossyMediumQuality"},
    {W::jpeg2000LSLossyLowQuality, "jpeg2000LSLossyLowQuality"},
}};

template <class E, std::size_t N>
std::string_view nameIn(const std::array<Named<E>, N>& table, E value) noexcept {
  for (const auto& row : table)
    if (row.value == value) return row.name;
  return {};
}

template <class E, std::size_t N>
std::optional<E> parseIn(const std::array<Named<E>, N>& table, std::string_view text) {
  std::int64_t code = 0;
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), code);
  if (ec == std::errc() && end == text.data() + text.size()) return fromRawValue<E>(code);
  for (const auto& row : table)
    if (row.name == text || title(row.value) == text) return row.value;
  return std::nullopt;
}

}  // namespace

std::string_view caseName(TransferSyntax value) noexcept { return nameIn(kTransferSyntaxNames, value); }
std::string_view caseName(SupportedWadoTransferSyntaxType value) noexcept { return nameIn(kWadoSyntaxNames, value); }

std::optional<TransferSyntax> parseTransferSyntax(std::string_view text) { return parseIn(kTransferSyntaxNames, text); }
std::optional<SupportedWadoTransferSyntaxType> parseWadoSyntax(std::string_view text) {
  return parseIn(kWadoSyntaxNames, text);
}

}  // namespace telvor::tool
