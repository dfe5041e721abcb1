#include "telvor/vocabulary/association_number_type.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include "telvor/coding/codable.hpp"

namespace telvor {
namespace {

using A = AssociationNumberType;

struct Expected {
  A value;
  std::int64_t code;
  std::string_view title;
};
// Declaration order; the code is the count, so `four` sits at position 2 with code 4.
constexpr Expected kCases[] = {{A::one, 1, "single"}, {A::two, 2, "2 associations"}, {A::four, 4, "4 associations"}};

TEST(AssociationNumberType, EveryCaseHasItsCountAsCodeAndItsTitle) {
  ASSERT_EQ(allCases<A>().size(), std::size(kCases));
  for (std::size_t p = 0; p < std::size(kCases); ++p) {
    const auto& [value, code, text] = kCases[p];
    SCOPED_TRACE(text);
    EXPECT_EQ(allCases<A>()[p], value);
    EXPECT_EQ(rawValue(value), code);
    EXPECT_EQ(id(value), code);
    EXPECT_EQ(fromRawValue<A>(code), value);
    EXPECT_EQ(title(value), text);
    EXPECT_EQ(hashValue(value), std::hash<std::int64_t>{}(code));
  }
}

TEST(AssociationNumberType, OtherIntegersGiveNoCase) {
  for (std::int64_t code : {std::int64_t{0}, std::int64_t{3}, std::int64_t{5}, std::int64_t{-1}, std::int64_t{-4},
                            std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max(),
                            (std::int64_t{1} << 32) + 4})
    EXPECT_FALSE(fromRawValue<A>(code).has_value()) << code;
}

// Nothing persists an association count.
static_assert(!Codable<A>);

}  // namespace
}  // namespace telvor
