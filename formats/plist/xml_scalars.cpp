#include "detail/xml_scalars.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

namespace telvor::plist::detail {
namespace {

bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool isDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view trimmed(std::string_view s) {
  while (!s.empty() && isSpace(s.front())) s.remove_prefix(1);
  while (!s.empty() && isSpace(s.back())) s.remove_suffix(1);
  return s;
}

// Days from 1970-01-01 to the given day of the proleptic Gregorian calendar, and back
// (Howard Hinnant's algorithms).
std::int64_t daysFromCivil(std::int64_t y, unsigned m, unsigned d) {
  y -= m <= 2;
  const std::int64_t era = (y >= 0 ? y : y - 399) / 400;
  const auto yoe = static_cast<unsigned>(y - era * 400);
  const unsigned doy = (153 * (m > 2 ? m - 3 : m + 9) + 2) / 5 + d - 1;
  const unsigned doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
  return era * 146097 + static_cast<std::int64_t>(doe) - 719468;
}

struct Civil {
  std::int64_t year;
  unsigned month, day;
};

Civil civilFromDays(std::int64_t z) {
  z += 719468;
  const std::int64_t era = (z >= 0 ? z : z - 146096) / 146097;
  const auto doe = static_cast<unsigned>(z - era * 146097);
  const unsigned yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
  const unsigned doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
  const unsigned mp = (5 * doy + 2) / 153;
  const unsigned d = doy - (153 * mp + 2) / 5 + 1;
  const unsigned m = mp < 10 ? mp + 3 : mp - 9;
  return {static_cast<std::int64_t>(yoe) + era * 400 + (m <= 2), m, d};
}

constexpr std::int64_t kReferenceDay = 11323;  // 2001-01-01, in days since 1970-01-01
constexpr std::int64_t kDay = 86400;

constexpr std::string_view kBase64 = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<std::int8_t, 256> kBase64Values = [] {
  std::array<std::int8_t, 256> values{};
  values.fill(-1);
  for (std::size_t i = 0; i < kBase64.size(); ++i) values[static_cast<unsigned char>(kBase64[i])] = static_cast<std::int8_t>(i);
  return values;
}();

void appendDigits(std::string& out, std::int64_t value, int width) {
  char digits[24];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  out.append(static_cast<std::size_t>(std::max<std::ptrdiff_t>(0, width - (end - digits))), '0');
  out.append(digits, end);
}

}  // namespace

std::optional<PropertyValue> integerFromText(std::string_view s) {
  s = trimmed(s);
  bool negative = false;
  if (!s.empty() && (s.front() == '-' || s.front() == '+')) {
    negative = s.front() == '-';
    s.remove_prefix(1);
  }
  int base = 10;
  if (s.size() > 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X')) {
    if (negative) return std::nullopt;
    base = 16;
    s.remove_prefix(2);
  } else if (s.empty() || !std::all_of(s.begin(), s.end(), isDigit) || (s.size() > 1 && s[0] == '0')) {
    return std::nullopt;
  }
  std::uint64_t magnitude = 0;
  const auto [end, error] = std::from_chars(s.data(), s.data() + s.size(), magnitude, base);
  if (error != std::errc() || end != s.data() + s.size()) return std::nullopt;
  constexpr auto kMax = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (negative) {
    if (magnitude > kMax + 1) return std::nullopt;
    return PropertyValue::integer(static_cast<std::int64_t>(0 - magnitude));
  }
  if (magnitude > kMax) return PropertyValue::other(PropertyOther(magnitude));
  return PropertyValue::integer(static_cast<std::int64_t>(magnitude));
}

std::optional<double> realFromText(std::string_view s) {
  s = trimmed(s);
  if (s.size() > 1 && s.front() == '+' && s[1] != '-') s.remove_prefix(1);
  double value = 0;
  const auto [end, error] = std::from_chars(s.data(), s.data() + s.size(), value);
  if (s.empty() || end != s.data() + s.size()) return std::nullopt;
  if (error == std::errc()) return value;
  if (error != std::errc::result_out_of_range) return std::nullopt;
  // from_chars leaves the value alone when it is out of range: tell huge from tiny.
  const std::size_t exponent = s.find_first_of("eE");
  const bool tiny = exponent != std::string_view::npos && exponent + 1 < s.size() && s[exponent + 1] == '-';
  const double magnitude = tiny ? 0.0 : std::numeric_limits<double>::infinity();
  return s.front() == '-' ? -magnitude : magnitude;
}

std::optional<double> dateFromText(std::string_view s) {
  s = trimmed(s);
  constexpr std::string_view shape = "dddd-dd-ddTdd:dd:ddZ";
  if (s.size() != shape.size()) return std::nullopt;
  for (std::size_t i = 0; i < s.size(); ++i) {
    if (shape[i] == 'd' ? !isDigit(s[i]) : s[i] != shape[i]) return std::nullopt;
  }
  auto field = [&](std::size_t at) { return static_cast<unsigned>((s[at] - '0') * 10 + (s[at + 1] - '0')); };
  const unsigned year = field(0) * 100 + field(2);
  const unsigned month = field(5), day = field(8), hour = field(11), minute = field(14), second = field(17);
  if (month < 1 || month > 12) return std::nullopt;
  constexpr std::array<unsigned, 12> kDays{31, 29, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  const unsigned days = month == 2 && !leap ? 28 : kDays[month - 1];
  if (day < 1 || day > days || hour > 23 || minute > 59 || second > 59) return std::nullopt;
  const std::int64_t total = (daysFromCivil(year, month, day) - kReferenceDay) * kDay + hour * 3600 + minute * 60 + second;
  return static_cast<double>(total);
}

std::optional<PropertyOther::Data> dataFromBase64(std::string_view s) {
  PropertyOther::Data out;
  out.reserve(s.size() / 4 * 3);
  std::uint32_t group = 0;
  std::size_t symbols = 0, padding = 0;
  for (const char c : s) {
    if (isSpace(c)) continue;
    if (c == '=') {
      ++padding;
    } else {
      const std::int8_t v = kBase64Values[static_cast<unsigned char>(c)];
      if (v < 0 || padding > 0) return std::nullopt;
      group = (group << 6) | static_cast<std::uint32_t>(v);
    }
    if (++symbols % 4 == 0) {
      if (padding > 2) return std::nullopt;
      group <<= 6 * padding;
      out.push_back(static_cast<std::uint8_t>(group >> 16));
      if (padding < 2) out.push_back(static_cast<std::uint8_t>(group >> 8));
      if (padding < 1) out.push_back(static_cast<std::uint8_t>(group));
      group = 0;
    }
  }
  if (symbols % 4 != 0) return std::nullopt;
  return out;
}

void appendReal(std::string& out, double value) {
  if (std::isnan(value)) {
    out += "nan";
    return;
  }
  char digits[32];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  out.append(digits, end);
}

void appendDate(std::string& out, double seconds) {
  const auto whole = static_cast<std::int64_t>(std::floor(seconds));
  const std::int64_t day = (whole >= 0 ? whole : whole - (kDay - 1)) / kDay;
  const std::int64_t inDay = whole - day * kDay;
  const Civil civil = civilFromDays(day + kReferenceDay);
  appendDigits(out, civil.year, 4);
  out += '-';
  appendDigits(out, civil.month, 2);
  out += '-';
  appendDigits(out, civil.day, 2);
  out += 'T';
  appendDigits(out, inDay / 3600, 2);
  out += ':';
  appendDigits(out, inDay / 60 % 60, 2);
  out += ':';
  appendDigits(out, inDay % 60, 2);
  out += 'Z';
}

void appendBase64(std::string& out, const PropertyOther::Data& bytes) {
  std::size_t i = 0;
  for (; i + 3 <= bytes.size(); i += 3) {
    const std::uint32_t group = (std::uint32_t{bytes[i]} << 16) | (std::uint32_t{bytes[i + 1]} << 8) | bytes[i + 2];
    for (int shift = 18; shift >= 0; shift -= 6) out += kBase64[(group >> shift) & 0x3F];
  }
  if (const std::size_t left = bytes.size() - i; left > 0) {
    std::uint32_t group = std::uint32_t{bytes[i]} << 16;
    if (left == 2) group |= std::uint32_t{bytes[i + 1]} << 8;
    out += kBase64[(group >> 18) & 0x3F];
    out += kBase64[(group >> 12) & 0x3F];
    out += left == 2 ? kBase64[(group >> 6) & 0x3F] : '=';
    out += '=';
  }
}

}  // namespace telvor::plist::detail
