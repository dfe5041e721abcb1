#include "telvor/presentation/version.hpp"

#include <gtest/gtest.h>

#include <string_view>

namespace {

// The identification string is found by what(1)-style tools: "@(#)" first, one line,
// NUL-terminated within its fixed size. (Its exported symbols are checked by
// tests/check_version_symbols.sh.)
TEST(Version, IdentificationStringIsOneWhatLine) {
  const std::string_view text(reinterpret_cast<const char*>(TelvorVersionString));
  EXPECT_TRUE(text.starts_with("@(#)PROGRAM:Telvor"));
  EXPECT_EQ(text.find('\n'), text.size() - 1);
  EXPECT_LT(text.size(), sizeof TelvorVersionString);
  EXPECT_GE(TelvorVersionNumber, 1.0);
}

}  // namespace
