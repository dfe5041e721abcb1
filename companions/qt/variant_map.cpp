#include "telvor/qt/variant_map.hpp"

#include <QByteArray>
#include <QDateTime>
#include <QStringList>
#include <QTimeZone>
#include <cmath>

namespace telvor::qt {

namespace {

// Seconds from the Unix epoch to the property lists' reference date, 2001-01-01 UTC.
constexpr double kReferenceDateOffset = 978307200.0;
// QDateTime's own range is far wider; this keeps the millisecond count within qint64.
constexpr double kLargestMilliseconds = 9.0e15;

QVariant dateVariant(PropertyDate date) {
  const double ms = std::round((date.secondsSinceReferenceDate + kReferenceDateOffset) * 1000.0);
  if (!std::isfinite(ms) || std::fabs(ms) > kLargestMilliseconds) return QDateTime();
  return QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(ms), Qt::UTC);
}

QString childPath(const QString& path, const QString& step) { return path.isEmpty() ? step : path + '/' + step; }

}  // namespace

VariantError::VariantError(const QString& path, const QString& problem)
    : std::runtime_error(QStringLiteral("%1: %2").arg(path.isEmpty() ? QStringLiteral("(value)") : path, problem)
                             .toStdString()),
      path_(path) {}

QVariant toVariant(const PropertyValue& value) {
  switch (value.kind()) {
    case PropertyValue::Kind::text:
      return QString::fromStdString(*value.textValue());
    case PropertyValue::Kind::integer:
      return QVariant::fromValue(static_cast<qlonglong>(*value.integerValue()));
    case PropertyValue::Kind::boolean:
      return *value.booleanValue();
    case PropertyValue::Kind::numberObject:
      return QVariant::fromValue(NumberObject{*value.numberObjectValue()});
    case PropertyValue::Kind::other:
      break;
  }
  const PropertyOther& other = *value.otherValue();
  if (const double* real = other.real()) return *real;
  if (const PropertyDate* date = other.date()) return dateVariant(*date);
  if (const auto* data = other.data())
    return QByteArray(reinterpret_cast<const char*>(data->data()), static_cast<qsizetype>(data->size()));
  if (const std::uint64_t* number = other.unsignedInteger()) return QVariant::fromValue(qulonglong{*number});
  if (const auto* array = other.array()) {
    QVariantList list;
    list.reserve(static_cast<qsizetype>(array->size()));
    for (const PropertyValue& element : *array) list.append(toVariant(element));
    return list;
  }
  return toVariantMap(*other.dictionary());
}

QVariantMap toVariantMap(const PropertyDictionary& dictionary) {
  QVariantMap map;
  for (const auto& [key, value] : dictionary) map.insert(QString::fromStdString(key), toVariant(value));
  return map;
}

PropertyValue fromVariant(const QVariant& variant, const QString& path) {
  const QMetaType type = variant.metaType();
  if (type == QMetaType::fromType<NumberObject>())
    return PropertyValue::numberObject(variant.value<NumberObject>().value);
  switch (type.id()) {
    case QMetaType::QString:
      return PropertyValue::text(variant.toString().toStdString());
    case QMetaType::LongLong:
    case QMetaType::Int:
    case QMetaType::UInt:
    case QMetaType::Short:
    case QMetaType::UShort:
    case QMetaType::Long:
      return PropertyValue::integer(variant.toLongLong());
    case QMetaType::Bool:
      return PropertyValue::boolean(variant.toBool());
    case QMetaType::Double:
    case QMetaType::Float:
      return PropertyValue::other(PropertyOther(variant.toDouble()));
    case QMetaType::ULongLong:
      return PropertyValue::other(PropertyOther(std::uint64_t{variant.toULongLong()}));
    case QMetaType::QDateTime: {
      const QDateTime moment = variant.toDateTime();
      if (!moment.isValid()) break;
      const double seconds = static_cast<double>(moment.toMSecsSinceEpoch()) / 1000.0 - kReferenceDateOffset;
      return PropertyValue::other(PropertyOther(PropertyDate{seconds}));
    }
    case QMetaType::QByteArray: {
      const QByteArray bytes = variant.toByteArray();
      return PropertyValue::other(PropertyOther(PropertyOther::Data(bytes.begin(), bytes.end())));
    }
    case QMetaType::QVariantList:
    case QMetaType::QStringList: {
      PropertyOther::Array array;
      const QVariantList list = variant.toList();
      for (qsizetype i = 0; i < list.size(); ++i)
        array.push_back(fromVariant(list[i], childPath(path, QString::number(i))));
      return PropertyValue::other(PropertyOther(std::move(array)));
    }
    case QMetaType::QVariantMap:
    case QMetaType::QVariantHash:
      return PropertyValue::other(PropertyOther(fromVariantMap(variant.toMap(), path)));
    default:
      break;
  }
  const QString typeName = variant.isValid() ? QString::fromLatin1(type.name()) : QStringLiteral("invalid variant");
  throw VariantError(path, QStringLiteral("a %1 has no property-value kind; use text, numbers, booleans, dates, "
                                          "bytes, lists or maps").arg(typeName));
}

PropertyDictionary fromVariantMap(const QVariantMap& map, const QString& path) {
  PropertyDictionary dictionary;
  for (auto it = map.begin(); it != map.end(); ++it)
    dictionary.setValue(it.key().toStdString(), fromVariant(it.value(), childPath(path, it.key())));
  return dictionary;
}

}  // namespace telvor::qt
