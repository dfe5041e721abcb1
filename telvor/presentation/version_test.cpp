#include "telvor/presentation/version.hpp"

#include <gtest/gtest.h>

#include <cstring>

namespace {

TEST(Version, NumberAndIdentificationStringReadThroughTheHeader) {
  EXPECT_EQ(TelvorVersionNumber, 1.0);
  static_assert(sizeof(TelvorVersionString) == 40);
  constexpr char expected[] = "@(#)PROGRAM:Telvor  PROJECT:Quenmark-1\n";
  static_assert(sizeof(expected) == 40);
  EXPECT_EQ(std::memcmp(TelvorVersionString, expected, sizeof expected), 0);
  EXPECT_EQ(TelvorVersionString[38], '\n');
  EXPECT_EQ(TelvorVersionString[39], '\0');
}

}  // namespace
