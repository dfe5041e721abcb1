// The item models under QAbstractItemModelTester, and the status's colours and symbols.
#include <QAbstractItemModelTester>
#include <QApplication>
#include <QComboBox>
#include <QPainter>
#include <QSignalSpy>
#include <QtTest>

#include "telvor/qt/node_table_model.hpp"
#include "telvor/qt/presentation.hpp"
#include "telvor/qt/vocabulary_model.hpp"
#include "telvor/vocabulary/association_number_type.hpp"
#include "telvor/vocabulary/retrieve_mode_type.hpp"
#include "telvor/vocabulary/supported_wado_transfer_syntax_type.hpp"
#include "telvor/vocabulary/transfer_syntax.hpp"

using telvor::DicomNodeStatus;
using telvor::qt::NodeTableModel;
using telvor::qt::VocabularyModel;

namespace {

telvor::DicomNode node(const char* aetitle) {
  telvor::DicomNode made(104);
  made.aetitle = aetitle;
  made.name = std::string("Node ") + aetitle;
  made.address = "192.0.2.1";
  return made;
}

template <class E>
void checkVocabulary() {
  std::unique_ptr<VocabularyModel> model(VocabularyModel::of<E>());
  QAbstractItemModelTester tester(model.get(), QAbstractItemModelTester::FailureReportingMode::QtTest);
  const auto cases = telvor::allCases<E>();
  QCOMPARE(model->rowCount(), static_cast<int>(cases.size()));
  QComboBox picker;
  picker.setModel(model.get());
  for (std::size_t row = 0; row < cases.size(); ++row) {
    picker.setCurrentIndex(static_cast<int>(row));
    QCOMPARE(picker.currentText(), QString::fromUtf8(telvor::title(cases[row]).data()));
    QCOMPARE(picker.currentData(VocabularyModel::CodeRole).toLongLong(), telvor::rawValue(cases[row]));
    QCOMPARE(model->rowOf(telvor::rawValue(cases[row])), static_cast<int>(row));
  }
  QCOMPARE(model->rowOf(-12345), -1);
}

// How many pixels of the image are close to `colour`.
int pixelsNear(const QImage& image, const QColor& colour) {
  int count = 0;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x) {
      const QColor pixel = image.pixelColor(x, y);
      if (pixel.alpha() > 200 && std::abs(pixel.red() - colour.red()) + std::abs(pixel.green() - colour.green()) +
              std::abs(pixel.blue() - colour.blue()) < 40)
        ++count;
    }
  return count;
}

// WCAG's contrast ratio of two colours (1 to 21).
double contrast(const QColor& a, const QColor& b) {
  const auto luminance = [](const QColor& c) {
    const auto channel = [](double v) { return v <= 0.04045 ? v / 12.92 : std::pow((v + 0.055) / 1.055, 2.4); };
    return 0.2126 * channel(c.redF()) + 0.7152 * channel(c.greenF()) + 0.0722 * channel(c.blueF());
  };
  const double la = luminance(a), lb = luminance(b);
  return (std::max(la, lb) + 0.05) / (std::min(la, lb) + 0.05);
}

}  // namespace

class ModelsTest : public QObject {
  Q_OBJECT

 private slots:
  void vocabularyModels() {
    checkVocabulary<telvor::TransferSyntax>();
    checkVocabulary<telvor::RetrieveModeType>();
    checkVocabulary<telvor::SupportedWadoTransferSyntaxType>();
    checkVocabulary<telvor::AssociationNumberType>();
  }

  void nodeTableEdits_data() {
    QTest::addColumn<int>("column");
    QTest::addColumn<QVariant>("value");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<QString>("shown");  // the cell's display text afterwards
    QTest::newRow("name") << int(NodeTableModel::name) << QVariant("Archive") << true << "Archive";
    QTest::newRow("empty name") << int(NodeTableModel::name) << QVariant(" ") << false << "Node A";
    QTest::newRow("AE title") << int(NodeTableModel::aetitle) << QVariant("PACS_2") << true << "PACS_2";
    QTest::newRow("AE title too long") << int(NodeTableModel::aetitle) << QVariant("ABCDEFGHIJKLMNOPQ") << false << "A";
    QTest::newRow("AE title backslash") << int(NodeTableModel::aetitle) << QVariant("A\\B") << false << "A";
    QTest::newRow("port") << int(NodeTableModel::port) << QVariant("11112") << true << "11112";
    QTest::newRow("port out of range") << int(NodeTableModel::port) << QVariant("70000") << false << "104";
    QTest::newRow("port not a number") << int(NodeTableModel::port) << QVariant("1o4") << false << "104";
    QTest::newRow("empty address") << int(NodeTableModel::address) << QVariant("") << false << "192.0.2.1";
    QTest::newRow("retrieve by code") << int(NodeTableModel::retrieve) << QVariant(0) << true << "CMOVE";
    QTest::newRow("retrieve by title") << int(NodeTableModel::retrieve) << QVariant("CMOVE") << true << "CMOVE";
    QTest::newRow("retrieve unknown code") << int(NodeTableModel::retrieve) << QVariant(7) << false << "CGET";
    QTest::newRow("WADO without URL") << int(NodeTableModel::retrieve) << QVariant(2) << false << "CGET";
    QTest::newRow("transfer syntax") << int(NodeTableModel::transferSyntax) << QVariant(0) << true
                                     << QString::fromUtf8(telvor::title(*telvor::fromRawValue<telvor::TransferSyntax>(0)).data());
    QTest::newRow("status") << int(NodeTableModel::status) << QVariant("online") << false << "unknown";
  }
  void nodeTableEdits() {
    QFETCH(int, column);
    QFETCH(QVariant, value);
    QFETCH(bool, accepted);
    QFETCH(QString, shown);
    NodeTableModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    telvor::DicomNode first = node("A");
    first.wadoSettings.url.reset();
    model.setNodes({first, node("B")});
    const telvor::DicomNode other = model.nodes()[1];
    QSignalSpy refused(&model, &NodeTableModel::editRefused);
    QCOMPARE(model.setData(model.index(0, column), value), accepted);
    QCOMPARE(model.index(0, column).data().toString(), shown);
    QCOMPARE(refused.count(), accepted || column == NodeTableModel::status ? 0 : 1);
    if (!accepted && column != NodeTableModel::status) QVERIFY(!model.lastRefusal().isEmpty());
    QVERIFY(model.nodes()[1] == other);
  }

  void nodeTableRowsStatusesAndTls() {
    NodeTableModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.setNodes({node("A"), node("B")});
    model.appendNode(node("C"), DicomNodeStatus::inaccessible("Connection refused"));
    QCOMPARE(model.rowCount(), 3);
    QCOMPARE(model.columnCount(), 10);
    QCOMPARE(model.headerData(1, Qt::Horizontal).toString(), QString("AE title"));

    const QModelIndex tls = model.index(0, NodeTableModel::tls);
    QCOMPARE(tls.data(Qt::CheckStateRole).toInt(), int(Qt::Unchecked));
    QVERIFY(model.setData(tls, Qt::Checked, Qt::CheckStateRole));
    QVERIFY(model.nodes()[0].tlsSettings->isEnabled);

    const QModelIndex offline = model.index(2, NodeTableModel::status);
    QCOMPARE(offline.data().toString(), QString("offline"));
    QCOMPARE(offline.data(Qt::ToolTipRole).toString(), QString("Connection refused"));
    QVERIFY(!offline.data(Qt::DecorationRole).value<QIcon>().isNull());
    model.setColors(telvor::qt::PaletteColors(telvor::qt::PaletteColors::Appearance::light));
    QCOMPARE(offline.data(Qt::ForegroundRole).value<QBrush>().color(), QColor(255, 59, 48));
    model.setStatus(2, DicomNodeStatus::accessable());
    QCOMPARE(offline.data().toString(), QString("online"));
    QCOMPARE(offline.data(Qt::ToolTipRole).toString(), QString("online"));
    QCOMPARE(offline.data(NodeTableModel::StatusKindRole).toLongLong(), 2);

    QVERIFY(model.removeRows(0, 2));
    QCOMPARE(model.nodes()[0].aetitle, std::optional<std::string>("C"));
    QVERIFY(!model.removeRows(0, 2));
  }

  // A status found for a node, and the check's other answers, stay only while the node is
  // reached the same way.
  void editsResetOnlyReachStatuses_data() {
    QTest::addColumn<int>("edit");
    QTest::addColumn<bool>("kept");
    using Edit = void (*)(telvor::DicomNode&);
    const std::array<std::tuple<const char*, Edit, bool>, 9> edits{{
        {"name", [](telvor::DicomNode& n) { n.name = "Renamed"; }, true},
        {"icon", [](telvor::DicomNode& n) { n.icon = "server"; }, true},
        {"queryable", [](telvor::DicomNode& n) { n.isQueryable = false; }, true},
        {"address", [](telvor::DicomNode& n) { n.address = "192.0.2.2"; }, false},
        {"port", [](telvor::DicomNode& n) { n.port = "11112"; }, false},
        {"AE title", [](telvor::DicomNode& n) { n.aetitle = "OTHER"; }, false},
        {"TLS", [](telvor::DicomNode& n) { n.tlsSettings->isEnabled = true; }, false},
        {"WADO URL", [](telvor::DicomNode& n) { n.wadoSettings.url = "http://192.0.2.1/wado"; }, false},
        {"retrieve mode", [](telvor::DicomNode& n) { n.retrieveMode = telvor::RetrieveModeType::cmove; }, false},
    }};
    for (std::size_t i = 0; i < edits.size(); ++i)
      QTest::newRow(std::get<0>(edits[i])) << int(i) << std::get<2>(edits[i]);
    edits_ = {};
    for (const auto& edit : edits) edits_.push_back(std::get<1>(edit));
  }
  void editsResetOnlyReachStatuses() {
    QFETCH(int, edit);
    QFETCH(bool, kept);
    NodeTableModel model;
    QAbstractItemModelTester tester(&model, QAbstractItemModelTester::FailureReportingMode::QtTest);
    model.setNodes({node("A")});
    const QDateTime at = QDateTime::currentDateTime();
    model.setStatus(0, DicomNodeStatus::accessable(), at, {NodeTableModel::Answer{"yes", ""}, std::nullopt});
    QCOMPARE(model.index(0, NodeTableModel::checked).data().toString(),
             QLocale().toString(at.time(), QLocale::ShortFormat));
    telvor::DicomNode edited = model.nodes()[0];
    edits_[static_cast<std::size_t>(edit)](edited);
    QVERIFY(model.setNode(0, edited));
    QCOMPARE(model.nodeStatus(0) == DicomNodeStatus::accessable(), kept);
    QCOMPARE(model.checkedAt(0).isValid(), kept);
    QCOMPARE(model.index(0, NodeTableModel::checked).data().toString().isEmpty(), !kept);
    QCOMPARE(model.index(0, NodeTableModel::answers).data().toString(), kept ? QString("yes / –") : QString());
  }

  // On a double-density screen a 16-pixel status symbol is drawn at 32 pixels, not
  // enlarged from 16: the same pixels as the 32-pixel symbol.
  void statusSymbolsDrawnForDoubleDensity() {
    for (const DicomNodeStatus& status :
         {DicomNodeStatus::unknown(""), DicomNodeStatus::inaccessible(""), DicomNodeStatus::accessable()}) {
      const QIcon icon = telvor::qt::statusIcon(status);
      const QPixmap doubled = icon.pixmap(QSize(16, 16), 2.0);
      QCOMPARE(doubled.size(), QSize(32, 32));
      QCOMPARE(doubled.devicePixelRatio(), 2.0);
      const auto pixels = [](const QPixmap& pixmap) {
        QImage image = pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
        image.setDevicePixelRatio(1);
        return image;
      };
      QCOMPARE(pixels(doubled), pixels(icon.pixmap(QSize(32, 32), 1.0)));
      QVERIFY(pixels(doubled) != pixels(icon.pixmap(QSize(16, 16), 1.0).scaled(32, 32)));
    }
  }

  void colours() {
    QCOMPARE(telvor::qt::toQColor(telvor::Color::systemRedColor()), QColor(255, 59, 48));
    QCOMPARE(telvor::qt::toQColor(telvor::GrayShade::systemGray2), QColor::fromRgbF(0.2f, 0.2f, 0.2f));
    QCOMPARE(telvor::qt::toQColor(telvor::GrayShade::systemGray6), QColor::fromRgbF(0.6f, 0.6f, 0.6f));
    QPalette dark;
    dark.setColor(QPalette::Window, QColor(30, 30, 30));
    dark.setColor(QPalette::WindowText, QColor(230, 230, 230));
    const telvor::qt::PaletteColors night(dark);
    QCOMPARE(night.appearance(), telvor::qt::PaletteColors::Appearance::dark);
    QCOMPARE(telvor::qt::toQColor(DicomNodeStatus::inaccessible("").color(night)), QColor(255, 69, 58));
    QCOMPARE(telvor::qt::PaletteColors(QPalette(Qt::white)).appearance(), telvor::qt::PaletteColors::Appearance::light);
  }

  // Each symbol draws its shape in the status colour and its white mark at 16 and 32
  // pixels, on light and dark backgrounds alike.
  void symbolsAreDrawn_data() {
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("size");
    QTest::addColumn<QColor>("background");
    for (int kind = 0; kind < 3; ++kind)
      for (int size : {16, 32})
        for (const QColor& background : {QColor(Qt::white), QColor(28, 28, 30)})
          QTest::addRow("%d at %d on %s", kind, size, qPrintable(background.name())) << kind << size << background;
  }
  void symbolsAreDrawn() {
    QFETCH(int, kind);
    QFETCH(int, size);
    QFETCH(QColor, background);
    const std::array statuses{DicomNodeStatus::unknown(""), DicomNodeStatus::inaccessible(""),
                              DicomNodeStatus::accessable()};
    const DicomNodeStatus& status = statuses[static_cast<std::size_t>(kind)];
    QVERIFY(!telvor::qt::symbolResource(status.image()).isEmpty());
    const telvor::qt::PaletteColors colors(background.lightness() < 128 ? telvor::qt::PaletteColors::Appearance::dark
                                                                        : telvor::qt::PaletteColors::Appearance::light);
    QImage image(size, size, QImage::Format_ARGB32);
    image.fill(Qt::transparent);
    {
      QPainter painter(&image);
      telvor::qt::statusIcon(status, colors).paint(&painter, image.rect());
    }
    const QColor shape = telvor::qt::toQColor(status.color(colors));
    const int area = size * size;
    QVERIFY2(pixelsNear(image, shape) > area / 4, "the shape fills a quarter of the icon");
    QVERIFY2(pixelsNear(image, Qt::white) > area / 30, "the white mark shows");
    QVERIFY2(contrast(shape, background) >= 2.0, "the shape stands out from the background");
  }

  void unknownSymbolHasNoIcon() {
    QVERIFY(telvor::qt::symbolIcon(telvor::Image{"no.such.symbol"}, Qt::red).isNull());
    QVERIFY(telvor::qt::symbolResource(telvor::Image{"no.such.symbol"}).isEmpty());
  }
 private:
  std::vector<void (*)(telvor::DicomNode&)> edits_;
};

QTEST_MAIN(ModelsTest)
#include "models_test.moc"
