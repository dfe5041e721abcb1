#include "telvor/platform/color.hpp"

#include <gtest/gtest.h>

#include <limits>

namespace telvor {
namespace {

TEST(Color, SystemColorsAreTheLightAppearanceComponentsWithTheirName) {
  struct Row {
    Color color;
    SystemColor name;
    int red, green, blue;
  };
  for (const auto& r : {Row{Color::systemGrayColor(), SystemColor::systemGray, 142, 142, 147},
                        Row{Color::systemRedColor(), SystemColor::systemRed, 255, 59, 48},
                        Row{Color::systemGreenColor(), SystemColor::systemGreen, 52, 199, 89}}) {
    EXPECT_EQ(r.color.red, r.red / 255.0);
    EXPECT_EQ(r.color.green, r.green / 255.0);
    EXPECT_EQ(r.color.blue, r.blue / 255.0);
    EXPECT_EQ(r.color.alpha, 1.0);
    EXPECT_EQ(r.color.systemName, r.name);
    EXPECT_FALSE(r.color.whiteLevel);
    EXPECT_EQ(Color::systemColor(r.name), r.color);
  }
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
