#include "telvor/vocabulary/supported_wado_transfer_syntax_type.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "telvor/coding/coding_error.hpp"
#include "telvor/json/json.hpp"

namespace telvor {
namespace {

using W = SupportedWadoTransferSyntaxType;
using TS = TransferSyntax;

struct Expected {
  W value;
  std::int64_t code;
  std::string_view title;
  TS transferSyntax;
};
// Declaration order. From position 6 on the code is not the position.
constexpr Expected kCases[] = {
    {W::explicitLittleEndian, 0, "Explicit Little Endian", TS::EXS_LittleEndianExplicit},
    {W::jpeg2000Lossless, 1, "JPEG 2000 Lossless", TS::EXS_JPEG2000LosslessOnly},
    {W::jpeg2000LossyGoodQuality, 2, "JPEG 2000 Lossy - Good Quality", TS::EXS_JPEG2000},
    {W::jpeg2000LossyMediumQuality, 3, "JPEG 2000 Lossy - Medium Quality", TS::EXS_JPEG2000},
    {W::jpeg2000LossyLowQuality, 4, "JPEG 2000 Lossy - Low Quality", TS::EXS_JPEG2000},
    {W::jpegLossless, 5, "JPEG Lossless", TS::EXS_JPEGLSLossless},  // JPEG-LS, not a JPEG process
    {W::implicitLittleEndian, 9, "Implicit Little Endian", TS::EXS_LittleEndianImplicit},
    {W::jpeg2000LSLossless, 13, "JPEG LS Lossless", TS::EXS_JPEG2000LosslessOnly},  // not JPEG-LS
    {W::jpeg2000LSLossyGoodQuality, 14, "JPEG LS Lossy - Good Quality", TS::EXS_JPEGLSLossy},
    {W::jpeg2000LSLossyMediumQuality, 15, "JPEG LS Lossy - Medium Quality", TS::EXS_JPEGLSLossy},
    {W::jpeg2000LSLossyLowQuality, 16, "JPEG LS Lossy - Low Quality", TS::EXS_JPEGLSLossy},
};

TEST(SupportedWadoTransferSyntaxType, EveryCaseHasItsCodeTitleTransferSyntaxAndCodedForm) {
  ASSERT_EQ(allCases<W>().size(), std::size(kCases));
  for (std::size_t p = 0; p < std::size(kCases); ++p) {
    const auto& [value, code, text, syntax] = kCases[p];
    SCOPED_TRACE(text);
    EXPECT_EQ(allCases<W>()[p], value);
    EXPECT_EQ(rawValue(value), code);
    EXPECT_EQ(id(value), code);
    EXPECT_EQ(fromRawValue<W>(code), value);
    EXPECT_EQ(title(value), text);
    EXPECT_EQ(toTransferSyntax(value), syntax);
    EXPECT_EQ(hashValue(value), std::hash<std::int64_t>{}(code));
    EXPECT_EQ(json::encode(value), std::to_string(code));
    EXPECT_EQ(json::decode<W>(std::to_string(code)), value);
  }
}

// Every code from below the smallest to beyond the largest (the gaps 6 to 8 and 10 to 12
// included), and codes far out: a code gives a case exactly when the table has it.
TEST(SupportedWadoTransferSyntaxType, OnlyTheCodesOfTheTableGiveACase) {
  std::vector<std::int64_t> codes{std::numeric_limits<std::int64_t>::min(),
                                  std::numeric_limits<std::int64_t>::max(), (std::int64_t{1} << 32) + 9};
  for (std::int64_t c = -3; c <= 20; ++c) codes.push_back(c);
  for (std::int64_t code : codes) {
    const auto* row =
        std::find_if(std::begin(kCases), std::end(kCases), [&](const Expected& e) { return e.code == code; });
    if (row != std::end(kCases)) {
      EXPECT_EQ(fromRawValue<W>(code), row->value) << code;
    } else {
      EXPECT_FALSE(fromRawValue<W>(code).has_value()) << code;
      EXPECT_THROW(json::decode<W>(std::to_string(code)), DecodingError) << code;
    }
  }
  try {
    json::fromDocument<W>(boost::json::value(6), CodingPathLink(nullptr, "retrieveSyntax"));
    FAIL() << "6 decoded as a WADO retrieve syntax";
  } catch (const DecodingError& e) {
    EXPECT_EQ(e.kind(), DecodingError::Kind::dataCorrupted);
    EXPECT_EQ(e.codingPath(), CodingPath{CodingPathComponent::key("retrieveSyntax")});
    EXPECT_EQ(e.debugDescription(), "Cannot initialize SupportedWadoTransferSyntaxType from invalid Int64 value 6");
  }
}

static_assert(Codable<W>);
static_assert(toTransferSyntax(W::jpegLossless) == TS::EXS_JPEGLSLossless);
static_assert(fromRawValue<W>(9) == W::implicitLittleEndian && fromRawValue<W>(6) == std::nullopt);

}  // namespace
}  // namespace telvor
