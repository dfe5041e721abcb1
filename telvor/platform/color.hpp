// Color: the library's stand-in for a toolkit colour, as handed out by the node status
// and the grey palette.
//
//   telvor::Color red = telvor::Color::systemRedColor();   // 1.0, 59/255, 48/255, alpha 1
//   red.systemName;                                        // SystemColor::systemRed
//   telvor::Color grey = telvor::Color::colorWithWhite(0.4, 1.0);
//   grey.whiteLevel;                                       // 0.4
//
// A value of sRGB components and alpha, each a double in 0 to 1, plus where it came from:
// a named system colour or a white level. An application maps it to its toolkit, either
// from the components (QColor::fromRgbF(c.red, c.green, c.blue, c.alpha)) or, to follow
// the toolkit's own appearance, from `systemName`.
//
// Where system colours come from is the application's to choose without any global
// setting: code that shows a colour takes a `SystemColorProvider` (see
// DicomNodeStatus::color), and `Color::systemColor` gives the standard light-appearance
// values that are used when none is passed.
#pragma once

#include <optional>

#include "telvor/telvor_export.hpp"

namespace telvor {

// The named system colours the library uses.
enum class SystemColor {
  systemGray,   // 142/255, 142/255, 147/255 in the light appearance
  systemRed,    // 255/255, 59/255, 48/255
  systemGreen,  // 52/255, 199/255, 89/255
};

struct TELVOR_API Color {
  double red = 0.0;
  double green = 0.0;
  double blue = 0.0;
  double alpha = 1.0;
  // Which named system colour this is, when it is one.
  std::optional<SystemColor> systemName;
  // The white level it was made from by colorWithWhite, when it was.
  std::optional<double> whiteLevel;

  // A grey of the given white level (0 black, 1 white) and alpha: red, green and blue all
  // equal `white`. Values outside 0 to 1 are clamped, NaN reads as 0. Converting the
  // level into a toolkit's grey colour space is the application's affair.
  static Color colorWithWhite(double white, double alpha) noexcept;

  // The named system colour with its standard light-appearance components, alpha 1.
  static Color systemColor(SystemColor name) noexcept;
  static Color systemGrayColor() noexcept { return systemColor(SystemColor::systemGray); }
  static Color systemRedColor() noexcept { return systemColor(SystemColor::systemRed); }
  static Color systemGreenColor() noexcept { return systemColor(SystemColor::systemGreen); }

  // The named system colour with the components an application chooses for it (a dark
  // appearance, its toolkit's palette); clamped like colorWithWhite.
  static Color named(SystemColor name, double red, double green, double blue, double alpha = 1.0) noexcept;

  // Components, origin and white level all equal.
  friend bool operator==(const Color&, const Color&) = default;
};

// Where the named system colours come from, for an application that does not want the
// standard light values: a dark appearance, or its toolkit's own palette.
//
//   struct DarkColors final : telvor::SystemColorProvider {
//     telvor::Color color(telvor::SystemColor name) const override {
//       if (name == telvor::SystemColor::systemRed)
//         return telvor::Color::named(name, 1.0, 69 / 255.0, 58 / 255.0);
//       return telvor::Color::systemColor(name);
//     }
//   };
//   status.color(DarkColors{});
//
// The library asks it afresh on every request and keeps nothing it returns.
class TELVOR_API SystemColorProvider {
 public:
  virtual ~SystemColorProvider();
  // The colour to show for `name`; the result should carry `name` as its systemName.
  virtual Color color(SystemColor name) const = 0;
};

}  // namespace telvor
