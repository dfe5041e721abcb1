// Property dictionaries through QVariantMap and through real QSettings files.
#include <QDataStream>
#include <QDateTime>
#include <QFile>
#include <QSettings>
#include <QTemporaryDir>
#include <QtTest>
#include <limits>

#include "telvor/qt/node_settings_store.hpp"
#include "telvor/qt/settings_value.hpp"
#include "telvor/qt/variant_map.hpp"

using telvor::PropertyDate;
using telvor::PropertyDictionary;
using telvor::PropertyOther;
using telvor::PropertyValue;

namespace {

PropertyValue other(auto content) { return PropertyValue::other(PropertyOther(content)); }

// One value of every kind, nested kinds holding every kind again.
PropertyDictionary everyKind(double dateSeconds) {
  PropertyDictionary inner{{"text", PropertyValue::text("@inner")},
                           {"n", PropertyValue::numberObject(-3)},
                           {"big", other(std::numeric_limits<std::uint64_t>::max())}};
  PropertyOther::Array list{PropertyValue::text("a, b"), PropertyValue::integer(7), PropertyValue::boolean(false),
                            other(PropertyOther::Array{}), other(inner), other(0.1)};
  return {{"text", PropertyValue::text("ARCHIVE")},
          {"digits", PropertyValue::text("104")},
          {"integer", PropertyValue::integer(std::numeric_limits<std::int64_t>::min())},
          {"boolean", PropertyValue::boolean(true)},
          {"number", PropertyValue::numberObject(2)},
          {"real", other(-0.0)},
          {"infinite", other(std::numeric_limits<double>::infinity())},
          {"date", other(PropertyDate{dateSeconds})},
          {"data", other(PropertyOther::Data{0, 255, '@', '\n'})},
          {"unsigned", other(std::numeric_limits<std::uint64_t>::max())},
          {"list", other(list)},
          {"empty", other(PropertyDictionary{})},
          {"dictionary", other(inner)}};
}

std::optional<PropertyDictionary> nodeForm(const char* aetitle) {
  telvor::DicomNode node(104);
  node.aetitle = aetitle;
  node.name = std::string("Node ") + aetitle;
  node.address = "192.0.2.1";
  return node.toDictionary();
}

// A settings format that keeps variants as they are, as macOS' native format does.
bool readTyped(QIODevice& device, QSettings::SettingsMap& map) {
  QDataStream stream(&device);
  stream >> map;
  return true;
}
bool writeTyped(QIODevice& device, const QSettings::SettingsMap& map) {
  QDataStream stream(&device);
  stream << map;
  return true;
}

QStringList fileLines(const QString& path) {
  QFile file(path);
  file.open(QIODevice::ReadOnly);
  return QString::fromUtf8(file.readAll()).split('\n');
}

}  // namespace

class SettingsTest : public QObject {
  Q_OBJECT

 private slots:
  void variantMapKeepsEveryKind() {
    const PropertyDictionary original = everyKind(725846400.125);  // a whole millisecond
    const QVariantMap map = telvor::qt::toVariantMap(original);
    const QList<QPair<QString, QMetaType>> types{
        {"text", QMetaType::fromType<QString>()},          {"integer", QMetaType::fromType<qlonglong>()},
        {"boolean", QMetaType::fromType<bool>()},          {"number", QMetaType::fromType<telvor::qt::NumberObject>()},
        {"real", QMetaType::fromType<double>()},           {"date", QMetaType::fromType<QDateTime>()},
        {"data", QMetaType::fromType<QByteArray>()},       {"unsigned", QMetaType::fromType<qulonglong>()},
        {"list", QMetaType::fromType<QVariantList>()},     {"dictionary", QMetaType::fromType<QVariantMap>()}};
    for (const auto& [key, type] : types) QCOMPARE(map.value(key).metaType(), type);
    QCOMPARE(map.value("date").toDateTime(), QDateTime::fromString("2024-01-02T00:00:00.125Z", Qt::ISODateWithMs));
    QVERIFY(telvor::qt::fromVariantMap(map) == original);
  }

  void variantMapReadsQtsOwnTypes() {
    const QVariantMap map{{"int", 5}, {"float", 0.5f}, {"strings", QStringList{"x"}},
                          {"hash", QVariantHash{{"k", true}}}};
    const PropertyDictionary read = telvor::qt::fromVariantMap(map);
    QVERIFY(*read.find("int") == PropertyValue::integer(5));
    QVERIFY(*read.find("float") == other(0.5));
    QVERIFY(*read.find("strings") == other(PropertyOther::Array{PropertyValue::text("x")}));
    QVERIFY(*read.find("hash") == other(PropertyDictionary{{"k", PropertyValue::boolean(true)}}));
  }

  void variantMapRefusesWhatHasNoKind() {
    const QVariantMap map{{"nodes", QVariantList{1, QVariantMap{{"where", QPoint(1, 2)}}}}};
    try {
      telvor::qt::fromVariantMap(map);
      QFAIL("a QPoint was accepted");
    } catch (const telvor::qt::VariantError& error) {
      QCOMPARE(error.path(), QString("nodes/1/where"));
      QVERIFY(QString(error.what()).contains("QPoint"));
    }
  }

  // Every kind written as an INI file on disk and read back by a fresh QSettings.
  void iniFormKeepsEveryKind_data() {
    QTest::addColumn<double>("dateSeconds");
    QTest::newRow("whole milliseconds") << 725846400.125;
    QTest::newRow("finer than milliseconds") << 725846400.0001;
    QTest::newRow("before 2001") << -1e9;
    QTest::newRow("beyond year 9999") << 1e12;
  }
  void iniFormKeepsEveryKind() {
    QFETCH(double, dateSeconds);
    QTemporaryDir dir;
    const QString path = dir.filePath("read.ini");
    PropertyDictionary original = everyKind(dateSeconds);
    for (const char* text : {"@Integer(5)", "@", "@@x", "@Unknown(1)", " padded ", "line\nbreak", "ünï;=#", "", "true"})
      original.setValue(std::string("text ") + text, PropertyValue::text(text));
    {
      QSettings settings(dir.filePath("written.ini"), QSettings::IniFormat);
      for (const auto& [key, value] : original)
        settings.setValue(QString::fromStdString(key), telvor::qt::toSettingsValue(value));
    }
    QVERIFY(QFile::copy(dir.filePath("written.ini"), path));  // read from the file, not QSettings' cache
    QSettings settings(path, QSettings::IniFormat);
    PropertyDictionary read;
    for (const QString& key : settings.allKeys())
      read.setValue(key.toStdString(), telvor::qt::fromSettingsValue(settings.value(key), key));
    for (const auto& [key, value] : original) {
      const PropertyValue* back = read.find(key);
      QVERIFY2(back != nullptr && *back == value, key.c_str());
    }
    QCOMPARE(read.size(), original.size());
  }

  void malformedTagsNameThePath_data() {
    QTest::addColumn<QString>("stored");
    for (const char* text : {"@Integer(x)", "@Integer(9223372036854775808)", "@Number()", "@Bool(yes)", "@Real(1e)",
                             "@UInt64(-1)", "@Data(%%%%)", "@Date(someday)", "@List({})", "@Dictionary([1])",
                             "@List([1])"})
      QTest::newRow(text) << QString(text);
  }
  void malformedTagsNameThePath() {
    QFETCH(QString, stored);
    try {
      telvor::qt::fromSettingsValue(stored, "Nodes/1/Port");
      QFAIL("accepted");
    } catch (const telvor::qt::VariantError& error) {
      QVERIFY2(QString(error.what()).startsWith("Nodes/1/Port"), error.what());
    }
  }

  void otherApplicationsValuesReadLeniently() {
    QVERIFY(telvor::qt::fromSettingsValue(QString("5")) == PropertyValue::text("5"));
    QVERIFY(telvor::qt::fromSettingsValue(QString("@Later(x)")) == PropertyValue::text("@Later(x)"));
    QVERIFY(telvor::qt::fromSettingsValue(QByteArray("\x01", 1)) == other(PropertyOther::Data{1}));
  }

  // An edit rewrites the changed key's line of the INI file and nothing else.
  void storeEditsOnlyChangedKeys() {
    QTemporaryDir dir;
    const QString path = dir.filePath("viewer.ini");
    {
      // Written under another name: QSettings caches what it wrote by path, and the
      // other application's values must come from the file as text.
      QSettings settings(dir.filePath("written.ini"), QSettings::IniFormat);
      telvor::qt::NodeSettingsStore store(settings, "DicomNodes");
      for (const char* ae : {"FIRST", "SECOND", "THIRD"}) store.append(telvor::DicomNode(*nodeForm(ae)));
      settings.setValue("DicomNodes/1/org.example.colour", "teal");      // another application's key
      settings.setValue("DicomNodes/2/org.example.seen", 3);             // stored as bare text
      settings.setValue("DicomNodes/2/org.example.blob", QByteArray("\0\1", 2));
    }
    QVERIFY(QFile::copy(dir.filePath("written.ini"), path));
    const QStringList before = fileLines(path);
    {
      QSettings settings(path, QSettings::IniFormat);
      telvor::qt::NodeSettingsStore store(settings, "DicomNodes");
      telvor::DicomNode edited = store.nodes()[0];
      edited.port = "11112";
      const auto edit = store.update(0, edited);
      QCOMPARE(edit.written, std::vector<std::string>{"Port"});
    }
    const QStringList after = fileLines(path);
    QCOMPARE(after.size(), before.size());
    QStringList changed;
    for (qsizetype i = 0; i < before.size(); ++i)
      if (before[i] != after[i]) changed << after[i];
    QCOMPARE(changed, QStringList{"1\\Port=11112"});

    QSettings settings(path, QSettings::IniFormat);
    telvor::qt::NodeSettingsStore store(settings, "DicomNodes");
    const PropertyDictionary second = store.dictionary(1);
    store.remove(0);
    QCOMPARE(store.size(), std::size_t{2});
    QVERIFY(store.dictionary(0) == second);  // moved down, unknown keys and all
    QVERIFY(*store.dictionary(0).find("org.example.seen") == PropertyValue::text("3"));
    QCOMPARE(store.nodes()[1].aetitle, std::optional<std::string>("THIRD"));
    QVERIFY(!settings.contains("DicomNodes/3/AETitle"));
    QVERIFY_THROWS_EXCEPTION(std::out_of_range, store.dictionary(2));
    QVERIFY_THROWS_EXCEPTION(std::invalid_argument, store.append(telvor::DicomNode()));
  }

  // Formats that keep types get the variants themselves; number objects become integers.
  void storeInTypedFormat() {
    const QSettings::Format typed = QSettings::registerFormat("typed", readTyped, writeTyped);
    QTemporaryDir dir;
    const QString path = dir.filePath("viewer.typed");
    {
      QSettings settings(path, typed);
      telvor::qt::NodeSettingsStore store(settings, "Nodes", telvor::qt::SettingsValueForm::variant);
      store.append(telvor::DicomNode(*nodeForm("TYPED")));
    }
    QSettings settings(path, typed);
    QCOMPARE(settings.value("Nodes/1/Port").metaType(), QMetaType::fromType<QString>());
    QCOMPARE(settings.value("Nodes/1/transferSyntax").metaType(), QMetaType::fromType<qlonglong>());
    telvor::qt::NodeSettingsStore store(settings, "Nodes", telvor::qt::SettingsValueForm::variant);
    QVERIFY(*store.dictionary(0).find("transferSyntax") == PropertyValue::integer(2));  // no boxed number
    QCOMPARE(store.nodes()[0].transferSyntax, telvor::DicomNode().transferSyntax);
    QCOMPARE(store.nodes()[0].aetitle, std::optional<std::string>("TYPED"));
    QCOMPARE(store.nodes()[0].port, std::optional<std::string>("104"));
  }
};

QTEST_GUILESS_MAIN(SettingsTest)
#include "settings_test.moc"
