#include "telvor/platform/color.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace telvor {
namespace {

TEST(Color, SystemColorsKeepTheirNameAndAreOpaqueAndDistinct) {
  const Color colors[] = {Color::systemGrayColor(), Color::systemRedColor(), Color::systemGreenColor()};
  const SystemColor names[] = {SystemColor::systemGray, SystemColor::systemRed, SystemColor::systemGreen};
  for (std::size_t i = 0; i < std::size(colors); ++i) {
    EXPECT_EQ(colors[i].systemName, names[i]);
    EXPECT_EQ(colors[i].alpha, 1.0);
    EXPECT_FALSE(colors[i].whiteLevel);
    EXPECT_EQ(Color::systemColor(names[i]), colors[i]);
    for (std::size_t j = 0; j < i; ++j) EXPECT_NE(colors[i], colors[j]);
  }
  EXPECT_GT(Color::systemRedColor().red, Color::systemRedColor().green);  // red is red
}

TEST(Color, WhiteLevelMakesAGreyAndRemembersItsLevel) {
  const auto grey = Color::colorWithWhite(0.3, 0.5);
  EXPECT_EQ(grey.red, 0.3);
  EXPECT_EQ(grey.green, 0.3);
  EXPECT_EQ(grey.blue, 0.3);
  EXPECT_EQ(grey.alpha, 0.5);
  EXPECT_EQ(grey.whiteLevel, 0.3);
  EXPECT_FALSE(grey.systemName);
  EXPECT_NE(grey, Color::colorWithWhite(0.3, 1.0));
}

TEST(Color, ComponentsOutsideTheUnitRangeAreClampedAndNaNIsZero) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const auto grey = Color::colorWithWhite(1.5, -2.0);
  EXPECT_EQ(grey.red, 1.0);
  EXPECT_EQ(grey.whiteLevel, 1.0);
  EXPECT_EQ(grey.alpha, 0.0);
  EXPECT_EQ(Color::colorWithWhite(nan, nan), Color::colorWithWhite(0.0, 0.0));
  const auto red = Color::named(SystemColor::systemRed, 2.0, nan, -0.5);
  EXPECT_EQ(red.red, 1.0);
  EXPECT_EQ(red.green, 0.0);
  EXPECT_EQ(red.blue, 0.0);
  EXPECT_EQ(red.alpha, 1.0);
  EXPECT_EQ(red.systemName, SystemColor::systemRed);
}

}  // namespace
}  // namespace telvor
