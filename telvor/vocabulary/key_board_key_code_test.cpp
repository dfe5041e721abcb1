#include "telvor/vocabulary/key_board_key_code.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <type_traits>

#include "telvor/coding/codable.hpp"

#include "support/enum_operations.hpp"

namespace telvor {
namespace {

using testing_support::HasAllCases;
using testing_support::HasId;
using testing_support::HasTitle;

using K = KeyBoardKeyCode;

struct Expected {
  K value;
  std::uint16_t code;
};
// Declaration order. The arrows are declared right, left, down, up; their codes run
// 123 (left), 124 (right), 125 (down), 126 (up).
constexpr Expected kKeys[] = {
    {K::letterA, 0},
    {K::letterD, 2},
    {K::backspace, 51},  // erases backwards
    {K::escape, 53},
    {K::delete_, 117},  // erases forwards
    {K::keyboardSpacebar, 49},
    {K::keyboardRightArrow, 124},
    {K::keyboardLeftArrow, 123},
    {K::keyboardDownArrow, 125},
    {K::keyboardUpArrow, 126},
};

TEST(KeyBoardKeyCode, EveryKeyHasItsCodeInDeclarationOrder) {
  const auto& rows = EnumTraits<K>::rows;
  ASSERT_EQ(rows.size(), std::size(kKeys));
  for (std::size_t p = 0; p < std::size(kKeys); ++p) {
    const auto [value, code] = kKeys[p];
    SCOPED_TRACE(code);
    EXPECT_EQ(rows[p].value, value);
    EXPECT_EQ(rawValue(value), code);
    EXPECT_EQ(fromRawValue<K>(code), value);
    EXPECT_EQ(hashValue(value), std::hash<std::uint16_t>{}(code));
    EXPECT_EQ(std::hash<K>{}(value), std::hash<std::uint16_t>{}(code));
  }
}

// Every 16-bit code: exactly the ten of the table give a key (so 1, 3, 50, 52, 122, 127
// and 65535 give none).
TEST(KeyBoardKeyCode, NoOtherSixteenBitCodeGivesAKey) {
  int found = 0;
  for (std::uint32_t c = 0; c <= std::numeric_limits<std::uint16_t>::max(); ++c) {
    const auto code = static_cast<std::uint16_t>(c);
    const std::optional<K> key = fromRawValue<K>(code);
    if (!key) continue;
    ++found;
    EXPECT_EQ(rawValue(*key), code);
  }
  EXPECT_EQ(found, static_cast<int>(std::size(kKeys)));
}

// A key code is only matched against events: no list, identifier, title or coded form,
// and the lookup takes the platform's 16-bit code.
static_assert(!HasAllCases<K> && !HasId<K> && !HasTitle<K> && !Codable<K>);
static_assert(std::is_same_v<decltype(&fromRawValue<K>), std::optional<K> (*)(std::uint16_t) noexcept>);
static_assert(std::is_same_v<decltype(rawValue(K::escape)), std::uint16_t>);
static_assert(fromRawValue<K>(124) == K::keyboardRightArrow && fromRawValue<K>(65535) == std::nullopt);

}  // namespace
}  // namespace telvor
