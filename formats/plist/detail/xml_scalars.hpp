// The text forms of the XML property list's scalars, read strictly and written the one
// way every reader takes: integers, reals, dates and base64 data.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "telvor/coding/property_dictionary.hpp"

namespace telvor::plist::detail {

// A decimal integer without leading zeros, or 0x hexadecimal (not negative), from -2^63
// to 2^64-1, surrounded by whitespace or not: an integer within Int64, else an other
// unsignedInteger. Absent for anything else ("abc", "010", "-9223372036854775809").
std::optional<PropertyValue> integerFromText(std::string_view text);

// A decimal number, inf or nan; magnitudes beyond double's range are infinity or zero.
std::optional<double> realFromText(std::string_view text);

// 2024-01-31T12:00:00Z naming a day that exists, as seconds since 2001-01-01.
std::optional<double> dateFromText(std::string_view text);

// Padded base64 with whitespace anywhere.
std::optional<PropertyOther::Data> dataFromBase64(std::string_view text);

// Appends the shortest text that reads back as `value` ("0.1", "-0", "inf", "nan").
void appendReal(std::string& out, double value);

// Appends the whole second at or before `seconds` in the form above; the caller has
// checked that it lies in the years 1000 to 9999.
void appendDate(std::string& out, double seconds);

// Appends `bytes` as padded base64 on one line.
void appendBase64(std::string& out, const PropertyOther::Data& bytes);

}  // namespace telvor::plist::detail
