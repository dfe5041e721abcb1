#include "telvor/vocabulary/retrieve_mode_type.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <string>

#include "telvor/coding/coding_error.hpp"
#include "telvor/json/json.hpp"

namespace telvor {
namespace {

using R = RetrieveModeType;

struct Expected {
  R value;
  std::int64_t code;
  std::string_view title;
};
// Declaration order, as pickers list the cases.
constexpr Expected kCases[] = {{R::cmove, 0, "CMOVE"}, {R::cget, 1, "CGET"}, {R::wado, 2, "WADO"}};

TEST(RetrieveModeType, EveryCaseHasItsPositionCodeTitleAndCodedForm) {
  ASSERT_EQ(allCases<R>().size(), std::size(kCases));
  for (std::size_t p = 0; p < std::size(kCases); ++p) {
    const auto& [value, code, text] = kCases[p];
    SCOPED_TRACE(text);
    EXPECT_EQ(allCases<R>()[p], value);
    EXPECT_EQ(rawValue(value), code);
    EXPECT_EQ(id(value), code);
    EXPECT_EQ(fromRawValue<R>(code), value);
    EXPECT_EQ(title(value), text);
    EXPECT_EQ(hashValue(value), std::hash<std::int64_t>{}(code));
    EXPECT_EQ(json::encode(value), std::to_string(code));
    EXPECT_EQ(json::decode<R>(std::to_string(code)), value);
  }
}

TEST(RetrieveModeType, CodesOutsideZeroToTwoGiveNoCaseAndDoNotDecode) {
  constexpr std::int64_t kMin = std::numeric_limits<std::int64_t>::min();
  constexpr std::int64_t kMax = std::numeric_limits<std::int64_t>::max();
  for (std::int64_t code : {std::int64_t{-1}, std::int64_t{3}, kMin, kMax, std::int64_t{1} << 32}) {
    EXPECT_FALSE(fromRawValue<R>(code).has_value()) << code;
    EXPECT_THROW(json::decode<R>(std::to_string(code)), DecodingError) << code;
  }
  try {
    json::fromDocument<R>(boost::json::value(3), CodingPathLink(nullptr, "retrieveMode"));
    FAIL() << "3 decoded as a retrieve mode";
  } catch (const DecodingError& e) {
    EXPECT_EQ(e.kind(), DecodingError::Kind::dataCorrupted);
    EXPECT_EQ(e.codingPath(), CodingPath{CodingPathComponent::key("retrieveMode")});
    EXPECT_EQ(e.debugDescription(), "Cannot initialize RetrieveModeType from invalid Int64 value 3");
  }
}

static_assert(Codable<R>);
static_assert(fromRawValue<R>(-1) == std::nullopt && fromRawValue<R>(2) == R::wado);

}  // namespace
}  // namespace telvor
