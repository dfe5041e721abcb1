// What the library's colour and symbol stand-ins look like on a Qt screen.
//
//   const telvor::qt::PaletteColors colors(QApplication::palette());
//   QColor red = telvor::qt::toQColor(status.color(colors));   // the red that suits the palette
//   QColor grey = telvor::qt::toQColor(telvor::GrayShade::systemGray4);
//   QIcon icon = telvor::qt::statusIcon(status, colors);       // the status's symbol, in its colour
//   item->setToolTip(QString::fromStdString(status.reason()));
//
// System colours come from a fixed table with a light and a dark column, and the palette
// only picks the column (dark when its window colour is darker than its text). QPalette
// has no red or green role to take them from, and taking the grey alone from it would
// mix two sources; the table keeps the three status colours one family in both
// appearances.
//
// | system colour | light (the library's values) | dark          |
// |---------------|------------------------------|---------------|
// | systemGray    | 142, 142, 147                | 152, 152, 157 |
// | systemRed     | 255, 59, 48                  | 255, 69, 58   |
// | systemGreen   | 52, 199, 89                  | 48, 209, 88   |
//
// Symbols: the module carries one SVG per symbol name the node status uses
// ("questionmark.diamond.fill", "xmark.square.fill", "checkmark.circle.fill"), drawn for
// this project as a filled shape in the status colour with a white mark, so that they
// read on light and dark backgrounds alike at 16 and 32 pixels.
#pragma once

#include <QColor>
#include <QIcon>
#include <QPalette>
#include <QString>

#include "telvor/platform/color.hpp"
#include "telvor/platform/image.hpp"
#include "telvor/presentation/grey_palette.hpp"
#include "telvor/qt/telvor_qt_export.hpp"
#include "telvor/status/dicom_node_status.hpp"

namespace telvor::qt {

// The colour with the same sRGB components and alpha.
TELVOR_QT_API QColor toQColor(const Color& color);
// A grey shade of the palette (white level 0.2 to 0.6).
TELVOR_QT_API QColor toQColor(GrayShade shade);

// The system colours of the table above, in the appearance of a palette.
class TELVOR_QT_API PaletteColors final : public SystemColorProvider {
 public:
  enum class Appearance { light, dark };
  explicit PaletteColors(Appearance appearance) noexcept : appearance_(appearance) {}
  // Dark when the palette's window colour is darker than its window text.
  explicit PaletteColors(const QPalette& palette) noexcept;

  Appearance appearance() const noexcept { return appearance_; }
  Color color(SystemColor name) const override;

 private:
  Appearance appearance_;
};

// The resource path of a symbol's SVG (":/telvor/symbols/<name>.svg"), or empty when the
// module has no drawing for that name.
TELVOR_QT_API QString symbolResource(const Image& image);

// The symbol drawn in `color`, as an icon with pixmaps at 16, 24, 32, 48 and 64 pixels
// (and their double-density forms). A null icon when the module has no drawing for it.
TELVOR_QT_API QIcon symbolIcon(const Image& image, const QColor& color);

// The status's symbol in the status's colour as `colors` gives it.
TELVOR_QT_API QIcon statusIcon(const DicomNodeStatus& status, const SystemColorProvider& colors);
// The same with the light appearance.
TELVOR_QT_API QIcon statusIcon(const DicomNodeStatus& status);

}  // namespace telvor::qt
