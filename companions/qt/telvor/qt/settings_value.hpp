// Property values as QSettings keeps them where it keeps only text: its INI form (the
// native form on Linux), which reads every number and boolean back as a string, so the
// node's Port "104" (text) and WADOPort 0 (integer) would become the same.
//
//   settings.setValue("WADOPort", telvor::qt::toSettingsValue(telvor::PropertyValue::integer(0)));
//   // INI: WADOPort=@Integer(0)
//   telvor::qt::fromSettingsValue(settings.value("WADOPort"));   // integer 0 again
//
// Each kind is written as a text tagged the way QSettings tags its own values:
//
// | PropertyValue          | stored text                          |
// |------------------------|--------------------------------------|
// | text                   | the text; a leading '@' doubled      |
// | integer                | @Integer(-5)                         |
// | boolean                | @Bool(true), @Bool(false)            |
// | number object          | @Number(2)                           |
// | other: real            | @Real(0.1) (shortest exact form; inf, -inf, nan) |
// | other: date            | @Date(2024-05-01T08:30:00.250Z), or @Date(seconds since 2001) when milliseconds do not hold it exactly |
// | other: data            | @Data(base64)                        |
// | other: unsignedInteger | @UInt64(18446744073709551615)        |
// | other: array           | @List(JSON array)                    |
// | other: dictionary      | @Dictionary(JSON object)             |
//
// Inside the JSON, a scalar element is its stored text as a JSON string, a nested list a
// JSON array, a nested dictionary a JSON object. A number object keeps its own tag, so it
// never turns into an integer; an unsigned integer beyond Int64 keeps all 64 bits. Every
// value reads back equal to what was written, reals and dates bit for bit.
//
// Reading is lenient towards what other code wrote: a text without a tag is text (a
// value another application stored as a number reads as its digits), and a variant that
// is not a string (QSettings' own @ByteArray, @Variant, or the macOS native form) is
// read by the variant table of variant_map.hpp. A tag whose content is not its kind's
// form throws VariantError naming the key path.
#pragma once

#include <QString>
#include <QVariant>

#include "telvor/coding/property_dictionary.hpp"
#include "telvor/qt/telvor_qt_export.hpp"
#include "telvor/qt/variant_map.hpp"

namespace telvor::qt {

// The stored text of `value` (see the table above).
TELVOR_QT_API QString toSettingsValue(const PropertyValue& value);

// The value of a stored variant. Throws VariantError naming `path` (see above).
TELVOR_QT_API PropertyValue fromSettingsValue(const QVariant& stored, const QString& path = {});

}  // namespace telvor::qt
