// Property dictionaries as Qt's variant maps: how a Qt application hands a node's
// settings to the library and takes them back.
//
//   QVariantMap map = telvor::qt::toVariantMap(*node.toDictionary());
//   map.value("Port").toString();                        // "104"
//   telvor::DicomNode back(telvor::qt::fromVariantMap(map));
//
// Every kind maps to a distinct variant type, both ways:
//
// | PropertyValue               | QVariant                  | read back from            |
// |-----------------------------|---------------------------|---------------------------|
// | text                        | QString                   | QString                   |
// | integer                     | qlonglong                 | qlonglong, int, uint,     |
// |                             |                           | short, ushort, long       |
// | boolean                     | bool                      | bool                      |
// | number object               | telvor::qt::NumberObject  | NumberObject              |
// | other: real                 | double                    | double, float             |
// | other: date                 | QDateTime (UTC)           | QDateTime                 |
// | other: data                 | QByteArray                | QByteArray                |
// | other: unsignedInteger      | qulonglong                | qulonglong (any value)    |
// | other: array                | QVariantList              | QVariantList, QStringList |
// | other: dictionary           | QVariantMap               | QVariantMap, QVariantHash |
//
// A number object has a type of its own because Qt has no boxed number apart from its
// integers: a plain qlonglong would come back as an integer, and the node's enumeration
// codes are number objects. Dates go through QDateTime and so keep milliseconds; a finer
// fraction is rounded to the nearest millisecond.
//
// QSettings does not keep these types in every format (its INI form turns numbers and
// booleans into text); node_settings_store.hpp stores dictionaries in a form that does.
#pragma once

#include <QMetaType>
#include <QString>
#include <QVariant>
#include <QVariantMap>
#include <stdexcept>

#include "telvor/coding/property_dictionary.hpp"
#include "telvor/qt/telvor_qt_export.hpp"

namespace telvor::qt {

// The variant form of a number object (see above).
struct NumberObject {
  qint64 value = 0;
  friend bool operator==(const NumberObject&, const NumberObject&) = default;
};

// A variant that no property value stands for (a QColor, an invalid variant, a stored
// text that is not the form it claims to be), with the key path where it was met
// ("extra/points/2") at the start of its message.
class TELVOR_QT_API VariantError : public std::runtime_error {
 public:
  VariantError(const QString& path, const QString& problem);
  const QString& path() const noexcept { return path_; }

 private:
  QString path_;
};

// The variant of one value, by the table above.
TELVOR_QT_API QVariant toVariant(const PropertyValue& value);
TELVOR_QT_API QVariantMap toVariantMap(const PropertyDictionary& dictionary);

// The value of a variant, by the table above. Throws VariantError for any other type,
// naming `path` (extended by list positions and keys as it descends).
TELVOR_QT_API PropertyValue fromVariant(const QVariant& variant, const QString& path = {});
TELVOR_QT_API PropertyDictionary fromVariantMap(const QVariantMap& map, const QString& path = {});

}  // namespace telvor::qt

Q_DECLARE_METATYPE(telvor::qt::NumberObject)
