// The vocabularies against the coded-enumeration contract, all seven through one set of
// checks, then the few facts that belong to one vocabulary.
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <string_view>
#include <vector>

#include "support/coding_support.hpp"
#include "support/memory_format.hpp"
#include "telvor/vocabulary/association_number_type.hpp"
#include "telvor/vocabulary/key_board_key_code.hpp"
#include "telvor/vocabulary/retrieve_mode_type.hpp"
#include "telvor/vocabulary/supported_wado_transfer_syntax_type.hpp"
#include "telvor/vocabulary/tls_security_profile.hpp"
#include "telvor/vocabulary/transfer_syntax.hpp"
#include "telvor/vocabulary/ui_keyboard_type.hpp"

namespace telvor {
namespace {

using namespace testing_support;
using TS = TransferSyntax;
using W = SupportedWadoTransferSyntaxType;

template <class E>
concept HasAllCases = requires { allCases<E>(); };
template <class E>
concept HasId = requires(E e) { id(e); };
template <class E>
concept HasTitle = requires(E e) { title(e); };

// Which operations each vocabulary has; the missing ones must not compile.
template <class E, bool all, bool ids, bool titles, bool codable>
constexpr bool kOffers = HasAllCases<E> == all && HasId<E> == ids && HasTitle<E> == titles && Codable<E> == codable;
static_assert(kOffers<TS, true, true, true, true>);
static_assert(kOffers<RetrieveModeType, true, true, true, true>);
static_assert(kOffers<AssociationNumberType, true, true, true, false>);
static_assert(kOffers<TLSSecurityProfile, true, true, false, true>);
static_assert(kOffers<W, true, true, true, true>);
static_assert(kOffers<UIKeyboardType, false, false, false, false>);
static_assert(kOffers<KeyBoardKeyCode, false, false, false, false>);
// Positions start at 0 and leave no gap; the headers of the vocabularies stored by position assert it.
static_assert(!codesArePositions<TS> && !codesArePositions<W> && !codesArePositions<AssociationNumberType> &&
              !codesArePositions<KeyBoardKeyCode>);

// The codes in declaration order.
template <class E>
std::vector<std::int64_t> codes() {
  std::vector<std::int64_t> out;
  for (const auto& row : EnumTraits<E>::rows) out.push_back(static_cast<std::int64_t>(rawValue(row.value)));
  return out;
}

// The contract for one enumeration, from its table: every case comes back from its code,
// hashes as its code, and every integer beside a code (below, above, or the same low
// bits in a wider integer) gives no case; a codable one is its bare code.
template <class E>
void checkContract() {
  using Code = std::underlying_type_t<E>;
  SCOPED_TRACE(EnumTraits<E>::name);
  const auto all = codes<E>();
  const auto isCode = [&](std::int64_t c) { return std::find(all.begin(), all.end(), c) != all.end(); };
  for (const auto& row : EnumTraits<E>::rows) {
    const E value = row.value;
    const Code code = rawValue(value);
    EXPECT_EQ(fromRawValue<E>(code), value);
    EXPECT_EQ(hashValue(value), std::hash<Code>{}(code));
    EXPECT_EQ(std::hash<E>{}(value), std::hash<Code>{}(code));
    if constexpr (HasId<E>) {
      EXPECT_EQ(id(value), code);
    }
    if constexpr (HasTitle<E>) {
      EXPECT_FALSE(title(value).empty());
    }
    for (std::int64_t beside : {std::int64_t{code} - 1, std::int64_t{code} + 1}) {
      if (isCode(beside)) continue;
      EXPECT_EQ(fromRawValue<E>(beside), std::nullopt) << beside;
    }
    EXPECT_EQ(fromRawValue<E>(static_cast<std::uint64_t>(code) + (std::uint64_t{1} << 63)), std::nullopt);
    EXPECT_EQ(fromRawValue<E>(std::int64_t{code} + (std::int64_t{1} << 32)), std::nullopt);
    if constexpr (Codable<E>) {
      EXPECT_EQ(toValue(value), Value(std::int64_t{code}));
      EXPECT_EQ(fromValue<E>(Value(std::int64_t{code})), value);
    }
  }
  for (std::int64_t extreme : {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()})
    EXPECT_EQ(fromRawValue<E>(extreme), std::nullopt);
  if constexpr (HasAllCases<E>) {
    ASSERT_EQ(allCases<E>().size(), all.size());
    for (std::size_t p = 0; p < all.size(); ++p) EXPECT_EQ(rawValue(allCases<E>()[p]), all[p]);
  }
  if constexpr (Codable<E>) {
    std::int64_t unknown = all.back() + 1;
    const auto e = capture<DecodingError>([&] { fromValue<E>(Value(unknown), CodingPathLink(nullptr, "field")); });
    EXPECT_EQ(e.kind(), DecodingError::Kind::dataCorrupted);
    EXPECT_EQ(e.codingPath(), keyPath({"field"}));
    EXPECT_EQ(e.debugDescription(),
              "Cannot initialize " + std::string(EnumTraits<E>::name) + " from invalid Int64 value " + std::to_string(unknown));
    for (const Value& v : {Value("1"), Value(true), other("a real number")})
      EXPECT_EQ(capture<DecodingError>([&] { fromValue<E>(v); }).kind(), DecodingError::Kind::typeMismatch) << show(v);
    EXPECT_EQ(capture<DecodingError>([&] { fromValue<E>(null()); }).kind(), DecodingError::Kind::valueNotFound);
  }
}

TEST(Vocabulary, EveryEnumerationKeepsTheContract) {
  checkContract<TS>();
  checkContract<RetrieveModeType>();
  checkContract<AssociationNumberType>();
  checkContract<TLSSecurityProfile>();
  checkContract<W>();
  checkContract<UIKeyboardType>();
  checkContract<KeyBoardKeyCode>();
}

// Every 16-bit code: exactly the ten of the table give a key. And a code is compared by
// value: 65536 + 53 is not escape (53), though it would be after narrowing to 16 bits.
TEST(Vocabulary, KeyCodesAreExactlyTheTable) {
  int found = 0;
  for (std::uint32_t c = 0; c <= 0xFFFF; ++c) found += fromRawValue<KeyBoardKeyCode>(c).has_value();
  EXPECT_EQ(found, 10);
  static_assert(fromRawValue<KeyBoardKeyCode>(53) == KeyBoardKeyCode::escape);
  static_assert(fromRawValue<KeyBoardKeyCode>(65536 + 53) == std::nullopt);
  static_assert(fromRawValue<KeyBoardKeyCode>(-65536 + 53) == std::nullopt);
  static_assert(fromRawValue<TLSSecurityProfile>(0xFFFF'FFFF'FFFF'FFFFull) == std::nullopt);
  static_assert(std::is_same_v<decltype(rawValue(KeyBoardKeyCode::escape)), std::uint16_t>);
}

TEST(Vocabulary, AValueOutsideTheTableHasNoTitleUidOrSyntax) {
  // What static_cast can make: documented as the empty text, never a neighbour's.
  EXPECT_EQ(title(static_cast<TS>(42)), "");
  EXPECT_EQ(title(static_cast<W>(6)), "");
  EXPECT_EQ(uid(static_cast<TS>(-2)), "");
  EXPECT_EQ(toTransferSyntax(static_cast<W>(12)), TS::EXS_Unknown);
  EXPECT_EQ(fromRawValue<W>(rawValue(static_cast<W>(12))), std::nullopt);
}

TEST(Vocabulary, WadoSyntaxesStandForTheirTransferSyntaxes) {
  // The two that do not follow their names, as stored data has always had them.
  EXPECT_EQ(toTransferSyntax(W::jpegLossless), TS::EXS_JPEGLSLossless);
  EXPECT_EQ(toTransferSyntax(W::jpeg2000LSLossless), TS::EXS_JPEG2000LosslessOnly);
  EXPECT_EQ(toTransferSyntax(W::implicitLittleEndian), TS::EXS_LittleEndianImplicit);
  EXPECT_EQ(toTransferSyntax(W::jpeg2000LSLossyLowQuality), TS::EXS_JPEGLSLossy);
}

TEST(Vocabulary, TransferSyntaxUidsLeadBackToTheirCaseExactlyApartFromTheNulPad) {
  using namespace std::string_view_literals;
  std::size_t withoutUid = 0;
  for (const TS ts : allCases<TS>()) {
    if (uid(ts).empty()) ++withoutUid;
    else EXPECT_EQ(transferSyntaxFromUid(uid(ts)), ts) << uid(ts);
  }
  EXPECT_EQ(withoutUid, 2u);  // EXS_Unknown and EXS_BigEndianImplicit
  EXPECT_EQ(uid(TS::EXS_DeflatedLittleEndianExplicit), "1.2.840.10008.1.2.1.99");
  EXPECT_EQ(transferSyntaxFromUid("1.2.840.10008.1.2\0"sv), TS::EXS_LittleEndianImplicit);
  for (const std::string_view text :
       {""sv, "\0"sv, "1.2.840.10008.1.2.\0"sv, "1.2.840.10008.1.2.4"sv, "1.2.840.10008.1.2.4.50 "sv,
        " 1.2.840.10008.1.2"sv, "1.2.840.10008.1.2.1\0\0"sv, "1.2.840.10008.1.2.4.500"sv, "EXS_LittleEndianExplicit"sv})
    EXPECT_EQ(transferSyntaxFromUid(text), std::nullopt) << text;
}

}  // namespace
}  // namespace telvor
