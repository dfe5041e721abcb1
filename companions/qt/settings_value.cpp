#include "telvor/qt/settings_value.hpp"

#include <QByteArray>
#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimeZone>
#include <charconv>
#include <cmath>
#include <string>

namespace telvor::qt {

namespace {

constexpr double kReferenceDateOffset = 978307200.0;  // 2001-01-01 UTC in Unix seconds

template <class Number>
QString numberText(Number value) {
  char buffer[64];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, value).ptr;
  return QString::fromLatin1(buffer, end - buffer);
}

template <class Number>
bool parseNumber(const QString& text, Number& out) {
  const std::string bytes = text.toStdString();
  const char* first = bytes.data();
  const char* last = first + bytes.size();
  // from_chars takes no '+' and, for reals, only lower-case "inf"/"nan": the writer's forms.
  const auto [ptr, error] = std::from_chars(first, last, out);
  return error == std::errc() && ptr == last && !bytes.empty();
}

QString dateText(double seconds) {
  const double ms = std::round((seconds + kReferenceDateOffset) * 1000.0);
  if (std::isfinite(ms) && std::fabs(ms) < 9.0e15 && ms / 1000.0 - kReferenceDateOffset == seconds) {
    const QDateTime moment = QDateTime::fromMSecsSinceEpoch(static_cast<qint64>(ms), Qt::UTC);
    const QString text = moment.toString(Qt::ISODateWithMs);
    // Years outside 0001 to 9999 have no ISO text that reads back.
    if (QDateTime::fromString(text, Qt::ISODateWithMs) == moment) return text;
  }
  return numberText(seconds);
}

QJsonValue toJson(const PropertyValue& value);

QJsonArray toJsonArray(const PropertyOther::Array& array) {
  QJsonArray json;
  for (const PropertyValue& element : array) json.append(toJson(element));
  return json;
}

QJsonObject toJsonObject(const PropertyDictionary& dictionary) {
  QJsonObject json;
  for (const auto& [key, value] : dictionary) json.insert(QString::fromStdString(key), toJson(value));
  return json;
}

QJsonValue toJson(const PropertyValue& value) {
  if (const PropertyOther* other = value.otherValue()) {
    if (const auto* array = other->array()) return toJsonArray(*array);
    if (const auto* dictionary = other->dictionary()) return toJsonObject(*dictionary);
  }
  return toSettingsValue(value);
}

QString childPath(const QString& path, const QString& step) { return path.isEmpty() ? step : path + '/' + step; }

[[noreturn]] void malformed(const QString& path, const QString& tag, const QString& content) {
  throw VariantError(path, QStringLiteral("\"%1\" is not a valid @%2(...) value; correct or remove it")
                               .arg(content.left(80), tag));
}

PropertyValue fromJson(const QJsonValue& json, const QString& path) {
  if (json.isString()) return fromSettingsValue(json.toString(), path);
  if (json.isArray()) {
    PropertyOther::Array array;
    const QJsonArray list = json.toArray();
    for (qsizetype i = 0; i < list.size(); ++i) array.push_back(fromJson(list[i], childPath(path, QString::number(i))));
    return PropertyValue::other(PropertyOther(std::move(array)));
  }
  if (json.isObject()) {
    PropertyDictionary dictionary;
    const QJsonObject object = json.toObject();
    for (auto it = object.begin(); it != object.end(); ++it)
      dictionary.setValue(it.key().toStdString(), fromJson(it.value(), childPath(path, it.key())));
    return PropertyValue::other(PropertyOther(std::move(dictionary)));
  }
  throw VariantError(path, QStringLiteral("a JSON number, boolean or null inside a stored list or dictionary; "
                                          "write scalars there as tagged strings"));
}

PropertyValue fromTagged(const QString& tag, const QString& content, const QString& path) {
  if (tag == u"Integer") {
    std::int64_t number = 0;
    if (parseNumber(content, number)) return PropertyValue::integer(number);
  } else if (tag == u"Number") {
    std::int64_t number = 0;
    if (parseNumber(content, number)) return PropertyValue::numberObject(number);
  } else if (tag == u"Bool") {
    if (content == u"true" || content == u"false") return PropertyValue::boolean(content == u"true");
  } else if (tag == u"Real") {
    double number = 0;
    if (parseNumber(content, number)) return PropertyValue::other(PropertyOther(number));
  } else if (tag == u"UInt64") {
    std::uint64_t number = 0;
    if (parseNumber(content, number)) return PropertyValue::other(PropertyOther(number));
  } else if (tag == u"Date") {
    double seconds = 0;
    if (content.contains(u'T')) {
      const QDateTime moment = QDateTime::fromString(content, Qt::ISODateWithMs);
      if (moment.isValid())
        return PropertyValue::other(
            PropertyOther(PropertyDate{static_cast<double>(moment.toMSecsSinceEpoch()) / 1000.0 - kReferenceDateOffset}));
    } else if (parseNumber(content, seconds)) {
      return PropertyValue::other(PropertyOther(PropertyDate{seconds}));
    }
  } else if (tag == u"Data") {
    const auto decoded = QByteArray::fromBase64Encoding(content.toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
    if (decoded && content.size() % 4 == 0)
      return PropertyValue::other(PropertyOther(PropertyOther::Data(decoded.decoded.begin(), decoded.decoded.end())));
  } else if (tag == u"List" || tag == u"Dictionary") {
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(content.toUtf8(), &error);
    const bool list = tag == u"List";
    if (error.error == QJsonParseError::NoError && (list ? document.isArray() : document.isObject()))
      return fromJson(list ? QJsonValue(document.array()) : QJsonValue(document.object()), path);
  } else {
    return PropertyValue::text(QStringLiteral("@%1(%2)").arg(tag, content).toStdString());  // not ours: a text
  }
  malformed(path, tag, content);
}

}  // namespace

QString toSettingsValue(const PropertyValue& value) {
  switch (value.kind()) {
    case PropertyValue::Kind::text: {
      const QString text = QString::fromStdString(*value.textValue());
      return text.startsWith(u'@') ? u'@' + text : text;
    }
    case PropertyValue::Kind::integer:
      return QStringLiteral("@Integer(%1)").arg(numberText(*value.integerValue()));
    case PropertyValue::Kind::boolean:
      return *value.booleanValue() ? QStringLiteral("@Bool(true)") : QStringLiteral("@Bool(false)");
    case PropertyValue::Kind::numberObject:
      return QStringLiteral("@Number(%1)").arg(numberText(*value.numberObjectValue()));
    case PropertyValue::Kind::other:
      break;
  }
  const PropertyOther& other = *value.otherValue();
  if (const double* real = other.real()) return QStringLiteral("@Real(%1)").arg(numberText(*real));
  if (const PropertyDate* date = other.date())
    return QStringLiteral("@Date(%1)").arg(dateText(date->secondsSinceReferenceDate));
  if (const auto* data = other.data()) {
    const QByteArray bytes(reinterpret_cast<const char*>(data->data()), static_cast<qsizetype>(data->size()));
    return QStringLiteral("@Data(%1)").arg(QString::fromLatin1(bytes.toBase64()));
  }
  if (const std::uint64_t* number = other.unsignedInteger()) return QStringLiteral("@UInt64(%1)").arg(numberText(*number));
  if (const auto* array = other.array())
    return QStringLiteral("@List(%1)").arg(
        QString::fromUtf8(QJsonDocument(toJsonArray(*array)).toJson(QJsonDocument::Compact)));
  return QStringLiteral("@Dictionary(%1)")
      .arg(QString::fromUtf8(QJsonDocument(toJsonObject(*other.dictionary())).toJson(QJsonDocument::Compact)));
}

PropertyValue fromSettingsValue(const QVariant& stored, const QString& path) {
  if (stored.metaType().id() != QMetaType::QString) return fromVariant(stored, path);
  const QString text = stored.toString();
  if (!text.startsWith(u'@')) return PropertyValue::text(text.toStdString());
  if (text.startsWith(u"@@")) return PropertyValue::text(text.mid(1).toStdString());
  const qsizetype open = text.indexOf(u'(');
  if (open < 0 || !text.endsWith(u')')) return PropertyValue::text(text.toStdString());
  return fromTagged(text.mid(1, open - 1), text.mid(open + 1, text.size() - open - 2), path);
}

}  // namespace telvor::qt
