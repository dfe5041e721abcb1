#include "telvor/qt/presentation.hpp"

#include <QFile>
#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>
#include <array>

// Resources of a static library are registered by hand; Q_INIT_RESOURCE must be called
// outside any namespace.
static void registerTelvorSymbols() { Q_INIT_RESOURCE(telvor_symbols); }

namespace telvor::qt {

namespace {

// The dark appearance's values; the light ones are the library's (Color::systemColor).
struct DarkColorRow {
  SystemColor name;
  std::array<int, 3> dark;
};

constexpr std::array<DarkColorRow, 3> kDarkSystemColors{{
    {SystemColor::systemGray, {152, 152, 157}},
    {SystemColor::systemRed, {255, 69, 58}},
    {SystemColor::systemGreen, {48, 209, 88}},
}};

QByteArray symbolSvg(const QString& resource) {
  static const bool registered = (registerTelvorSymbols(), true);
  (void)registered;
  QFile file(resource);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

}  // namespace

QColor toQColor(const Color& color) { return QColor::fromRgbF(color.red, color.green, color.blue, color.alpha); }

QColor toQColor(GrayShade shade) { return toQColor(*systemGray(shade)); }

PaletteColors::PaletteColors(const QPalette& palette) noexcept
    : appearance_(palette.color(QPalette::Window).lightnessF() < palette.color(QPalette::WindowText).lightnessF()
                      ? Appearance::dark
                      : Appearance::light) {}

Color PaletteColors::color(SystemColor name) const {
  if (appearance_ == Appearance::light) return Color::systemColor(name);
  for (const DarkColorRow& row : kDarkSystemColors)
    if (row.name == name) return Color::named(name, row.dark[0] / 255.0, row.dark[1] / 255.0, row.dark[2] / 255.0);
  return Color::systemColor(name);
}

QString symbolResource(const Image& image) {
  const QString path = QStringLiteral(":/telvor/symbols/%1.svg").arg(QString::fromStdString(image.name));
  return symbolSvg(path).isEmpty() ? QString() : path;
}

QIcon symbolIcon(const Image& image, const QColor& color) {
  QByteArray svg = symbolSvg(QStringLiteral(":/telvor/symbols/%1.svg").arg(QString::fromStdString(image.name)));
  if (svg.isEmpty()) return {};
  // The drawings fill with currentColor; the status colour goes in as text so that the
  // renderer needs no style support.
  svg.replace("currentColor", color.name(QColor::HexRgb).toLatin1());
  QSvgRenderer renderer(svg);
  QIcon icon;
  for (const int size : {16, 24, 32, 48, 64}) {
    for (const int scale : {1, 2}) {
      QPixmap pixmap(size * scale, size * scale);
      pixmap.fill(Qt::transparent);
      {
        QPainter painter(&pixmap);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter);
      }
      pixmap.setDevicePixelRatio(scale);
      icon.addPixmap(pixmap);
    }
  }
  return icon;
}

QIcon statusIcon(const DicomNodeStatus& status, const SystemColorProvider& colors) {
  return symbolIcon(status.image(), toQColor(status.color(colors)));
}

QIcon statusIcon(const DicomNodeStatus& status) { return statusIcon(status, PaletteColors(PaletteColors::Appearance::light)); }

}  // namespace telvor::qt
