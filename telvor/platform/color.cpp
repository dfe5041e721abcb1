#include "telvor/platform/color.hpp"

#include <array>
#include <cstddef>

namespace telvor {
namespace {

struct SystemColorRow {
  SystemColor name;
  int red, green, blue;  // 8-bit sRGB of the light appearance
};

// In SystemColor's declaration order.
constexpr std::array<SystemColorRow, 3> kLightSystemColors{{
    {SystemColor::systemGray, 142, 142, 147},
    {SystemColor::systemRed, 255, 59, 48},
    {SystemColor::systemGreen, 52, 199, 89},
}};

constexpr bool rowsFollowDeclarationOrder() {
  for (std::size_t i = 0; i < kLightSystemColors.size(); ++i)
    if (static_cast<std::size_t>(kLightSystemColors[i].name) != i) return false;
  return true;
}
static_assert(rowsFollowDeclarationOrder(), "system colour rows must follow SystemColor's order");

// Into 0 to 1; NaN fails both comparisons and becomes 0.
constexpr double unit(double value) noexcept {
  if (!(value >= 0.0)) return 0.0;
  return value > 1.0 ? 1.0 : value;
}

}  // namespace

Color Color::colorWithWhite(double white, double alpha) noexcept {
  const double level = unit(white);
  Color c;
  c.red = c.green = c.blue = level;
  c.alpha = unit(alpha);
  c.whiteLevel = level;
  return c;
}

Color Color::named(SystemColor name, double red, double green, double blue, double alpha) noexcept {
  Color c;
  c.red = unit(red);
  c.green = unit(green);
  c.blue = unit(blue);
  c.alpha = unit(alpha);
  c.systemName = name;
  return c;
}

Color Color::systemColor(SystemColor name) noexcept {
  const auto& row = kLightSystemColors[static_cast<std::size_t>(name)];
  return named(name, row.red / 255.0, row.green / 255.0, row.blue / 255.0, 1.0);
}

SystemColorProvider::~SystemColorProvider() = default;

}  // namespace telvor
