#include "telvor/vocabulary/tls_security_profile.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>

#include "telvor/coding/coding_error.hpp"
#include "telvor/json/json.hpp"

#include "support/enum_operations.hpp"

namespace telvor {
namespace {

using testing_support::HasTitle;

using P = TLSSecurityProfile;

// Declaration order; the code of each profile is its position.
constexpr P kCases[] = {P::profile0, P::profile1, P::profile2, P::profile3, P::profile4, P::profile5};

TEST(TLSSecurityProfile, EveryCaseHasItsPositionAsCodeAndCodedForm) {
  ASSERT_EQ(allCases<P>().size(), std::size(kCases));
  for (std::size_t p = 0; p < std::size(kCases); ++p) {
    const P value = kCases[p];
    const auto code = static_cast<std::int64_t>(p);
    SCOPED_TRACE(code);
    EXPECT_EQ(allCases<P>()[p], value);
    EXPECT_EQ(rawValue(value), code);
    EXPECT_EQ(id(value), code);
    EXPECT_EQ(fromRawValue<P>(code), value);
    EXPECT_EQ(hashValue(value), std::hash<std::int64_t>{}(code));
    EXPECT_EQ(json::encode(value), std::to_string(code));
    EXPECT_EQ(json::decode<P>(std::to_string(code)), value);
  }
}

TEST(TLSSecurityProfile, CodesOutsideZeroToFiveGiveNoCaseAndDoNotDecode) {
  constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  for (std::int64_t code : {std::int64_t{-1}, std::int64_t{6}, kMin, kMax, (std::int64_t{1} << 32) + 1}) {
    EXPECT_FALSE(fromRawValue<P>(code).has_value()) << code;
    EXPECT_THROW(json::decode<P>(std::to_string(code)), DecodingError) << code;
  }
}

// A profile has no display title; a picker supplies its own labels.
static_assert(!HasTitle<P>);
static_assert(Codable<P>);

}  // namespace
}  // namespace telvor
