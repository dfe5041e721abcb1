#include "telvor/vocabulary/transfer_syntax.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string_view>

#include "telvor/coding/coding_error.hpp"
#include "telvor/json/json.hpp"

namespace telvor {
namespace {

using TS = TransferSyntax;

TEST(TransferSyntax, EveryCaseRoundTripsThroughItsCodeInDeclarationOrder) {
  const auto cases = allCases<TS>();
  ASSERT_EQ(cases.size(), 43u);
  for (std::size_t p = 0; p < cases.size(); ++p) {
    const auto code = static_cast<std::int64_t>(p) - 1;
    EXPECT_EQ(rawValue(cases[p]), code);
    EXPECT_EQ(id(cases[p]), code);
    EXPECT_EQ(fromRawValue<TS>(code), cases[p]);
    EXPECT_FALSE(title(cases[p]).empty());
  }
  EXPECT_EQ(cases.front(), TS::EXS_Unknown);
  EXPECT_EQ(cases.back(), TS::EXS_PrivateGE_LEI_WithBigEndianPixelData);
}

TEST(TransferSyntax, CodesBesideTheRangeAreAbsent) {
  for (std::int64_t code : {std::int64_t{-2}, std::int64_t{42}, std::numeric_limits<std::int64_t>::max(),
                            std::numeric_limits<std::int64_t>::min()})
    EXPECT_FALSE(fromRawValue<TS>(code).has_value()) << code;
}

TEST(TransferSyntax, TitlesAreTheLibrarysTexts) {
  EXPECT_EQ(title(TS::EXS_Unknown), "Unknown");
  EXPECT_EQ(title(TS::EXS_LittleEndianExplicit), "Explicit VR Little Endian");
  EXPECT_EQ(title(TS::EXS_JPIPReferenced), "JPIP Referenced");
  EXPECT_EQ(title(TS::EXS_JPIPReferencedDeflate), "JPIP Referenced Deflate");
  EXPECT_EQ(title(TS::EXS_JPEGProcess7_9),
            "JPEG Spectral Selection, Non-Hierarchical (lossy, 8/12 bit), arithmetic coding");
  EXPECT_EQ(title(TS::EXS_JPEGProcess7_9).size(), 78u);
  EXPECT_EQ(title(TS::EXS_MPEG4BDcompatibleHighProfileLevel4_1), "MPEG4 BD-compatible High Profile / Level 4.1");
  EXPECT_EQ(title(TS::EXS_HEVCMain10ProfileLevel5_1), "HEVC/H.265 Main 10 Profile / Level 5.1");
}

TEST(TransferSyntax, HashesByCodeNotPosition) {
  EXPECT_EQ(hashValue(TS::EXS_LittleEndianImplicit), std::hash<std::int64_t>{}(0));
  EXPECT_EQ(std::hash<TS>{}(TS::EXS_LittleEndianImplicit), std::hash<std::int64_t>{}(0));
  EXPECT_NE(TS::EXS_LittleEndianImplicit, TS::EXS_BigEndianImplicit);
}

TEST(TransferSyntax, CodedFormIsTheBareCode) {
  EXPECT_EQ(json::encode(TS::EXS_Unknown), "-1");
  EXPECT_EQ(json::encode(TS::EXS_LittleEndianExplicit), "2");
  EXPECT_EQ(json::decode<TS>("-1"), TS::EXS_Unknown);
  EXPECT_EQ(json::decode<TS>("41"), TS::EXS_PrivateGE_LEI_WithBigEndianPixelData);
}

TEST(TransferSyntax, AnUnknownCodeIsDataCorruptedNamingEnumerationTypeAndValue) {
  try {
    json::fromDocument<TS>(boost::json::value(42), CodingPathLink(nullptr, "transferSyntax"));
    FAIL();
  } catch (const DecodingError& e) {
    EXPECT_EQ(e.kind(), DecodingError::Kind::dataCorrupted);
    EXPECT_EQ(e.codingPath(), CodingPath{CodingPathComponent::key("transferSyntax")});
    EXPECT_EQ(e.debugDescription(), "Cannot initialize TransferSyntax from invalid Int64 value 42");
  }
  for (const char* text : {"\"2\"", "2.0", "true", "null", "{}"})
    EXPECT_THROW(json::decode<TS>(text), DecodingError) << text;
}

TEST(TransferSyntax, UidsAreTheRegisteredOnesAndLeadBackToTheirCase) {
  EXPECT_EQ(uid(TS::EXS_LittleEndianImplicit), "1.2.840.10008.1.2");
  EXPECT_EQ(uid(TS::EXS_LittleEndianExplicit), "1.2.840.10008.1.2.1");
  EXPECT_EQ(uid(TS::EXS_DeflatedLittleEndianExplicit), "1.2.840.10008.1.2.1.99");
  EXPECT_EQ(uid(TS::EXS_JPEGProcess14SV1), "1.2.840.10008.1.2.4.70");
  EXPECT_EQ(uid(TS::EXS_RLELossless), "1.2.840.10008.1.2.5");
  EXPECT_EQ(uid(TS::EXS_HEVCMain10ProfileLevel5_1), "1.2.840.10008.1.2.4.108");
  EXPECT_EQ(uid(TS::EXS_PrivateGE_LEI_WithBigEndianPixelData), "1.2.840.113619.5.2");
  for (const TS ts : allCases<TS>()) {
    if (uid(ts).empty()) continue;
    EXPECT_EQ(transferSyntaxFromUid(uid(ts)), ts) << uid(ts);
  }
  // DCMTK's checks against its own table run in the companion's tests.
}

TEST(TransferSyntax, OnlyTheUnregisteredSyntaxesLackAUid) {
  std::size_t withoutUid = 0;
  for (const TS ts : allCases<TS>()) withoutUid += uid(ts).empty();
  EXPECT_EQ(withoutUid, 2u);
  EXPECT_EQ(uid(TS::EXS_Unknown), "");
  EXPECT_EQ(uid(TS::EXS_BigEndianImplicit), "");
  EXPECT_EQ(uid(static_cast<TS>(42)), "");
}

TEST(TransferSyntax, ReverseLookUpIsExactApartFromTheNulPad) {
  using namespace std::string_view_literals;
  EXPECT_EQ(transferSyntaxFromUid("1.2.840.10008.1.2.4.50\0"sv), TS::EXS_JPEGProcess1);
  EXPECT_EQ(transferSyntaxFromUid("1.2.840.10008.1.2\0"sv), TS::EXS_LittleEndianImplicit);
  for (const std::string_view text :
       {""sv, "\0"sv, "1.2.840.10008.1.2.\0"sv, "1.2.840.10008.1.2.4"sv, "1.2.840.10008.1.2.4.50 "sv,
        " 1.2.840.10008.1.2"sv, "1.2.840.10008.1.2.1\0\0"sv, "1.2.840.10008.1.2.4.500"sv,
        "Explicit VR Little Endian"sv, "EXS_LittleEndianExplicit"sv})
    EXPECT_EQ(transferSyntaxFromUid(text), std::nullopt) << text;
}

// Operations the contract gives TransferSyntax exist; the hooks are constrained so an
// enumeration without them does not compile.
static_assert(requires(TS t) {
  rawValue(t);
  id(t);
  title(t);
  allCases<TS>();
  fromRawValue<TS>(0);
});
static_assert(Codable<TS>);
static_assert(fromRawValue<TS>(std::numeric_limits<std::int64_t>::max()) == std::nullopt);
static_assert(title(TS::EXS_Unknown) == "Unknown");
static_assert(uid(TS::EXS_JPEG2000) == "1.2.840.10008.1.2.4.91");
static_assert(transferSyntaxFromUid("1.2.840.10008.1.2.2") == TS::EXS_BigEndianExplicit);

}  // namespace
}  // namespace telvor
