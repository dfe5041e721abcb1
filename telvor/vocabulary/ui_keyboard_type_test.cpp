#include "telvor/vocabulary/ui_keyboard_type.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include "telvor/coding/codable.hpp"

#include "support/enum_operations.hpp"

namespace telvor {
namespace {

using testing_support::HasAllCases;
using testing_support::HasId;
using testing_support::HasTitle;

using U = UIKeyboardType;

// Declaration order; the code of each kind is its position.
constexpr U kCases[] = {U::default_,     U::asciiCapable, U::numbersAndPunctuation, U::URL,
                        U::numberPad,    U::phonePad,     U::namePhonePad,          U::emailAddress,
                        U::decimalPad,   U::twitter,      U::webSearch,             U::asciiCapableNumberPad};

TEST(UIKeyboardType, CodeIsPositionAndNothingElseGivesACase) {
  const auto& rows = EnumTraits<U>::rows;
  ASSERT_EQ(rows.size(), std::size(kCases));
  for (std::size_t p = 0; p < std::size(kCases); ++p) {
    const auto code = static_cast<std::int64_t>(p);
    SCOPED_TRACE(code);
    EXPECT_EQ(rows[p].value, kCases[p]);
    EXPECT_EQ(rawValue(kCases[p]), code);
    EXPECT_EQ(fromRawValue<U>(code), kCases[p]);
    EXPECT_EQ(hashValue(kCases[p]), std::hash<std::int64_t>{}(code));
  }
  for (std::int64_t code : {std::int64_t{-1}, std::int64_t{12}, std::numeric_limits<std::int64_t>::min(),
                            std::numeric_limits<std::int64_t>::max(), std::int64_t{1} << 32})
    EXPECT_FALSE(fromRawValue<U>(code).has_value()) << code;
}

// A keyboard kind is only a hint: no list, identifier, title or coded form.
static_assert(!HasAllCases<U> && !HasId<U> && !HasTitle<U> && !Codable<U>);
static_assert(fromRawValue<U>(11) == U::asciiCapableNumberPad);

}  // namespace
}  // namespace telvor
