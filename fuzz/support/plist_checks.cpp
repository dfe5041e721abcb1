#include "plist_checks.hpp"

#include <cmath>
#include <cstring>
#include <exception>
#include <limits>
#include <optional>
#include <string>

#include "check.hpp"
#include "dictionary_oracle.hpp"
#include "utf8.hpp"
#include "telvor/node/dicom_node.hpp"
#include "telvor/plist/plist.hpp"

namespace telvor::fuzz {
namespace {

using plist::Format;
using plist::PlistError;

bool writableText(std::string_view s) { return validUtf8(s) && s.find('\0') == std::string_view::npos; }

// A C0 control other than tab, line feed and carriage return, U+FFFE or U+FFFF.
bool xmlForbids(std::string_view s) {
  for (const char c : s)
    if (static_cast<unsigned char>(c) < 0x20 && c != '\t' && c != '\n' && c != '\r') return true;
  return s.find("\xEF\xBF\xBE") != std::string_view::npos || s.find("\xEF\xBF\xBF") != std::string_view::npos;
}

// The seconds since 2001 of 1000-01-01T00:00:00Z and of 10000-01-01T00:00:00Z.
constexpr double kYear1000 = -31588531200.0;
constexpr double kYear10000 = 252423993600.0;

// What stands in the way of writing a dictionary.
struct Obstacles {
  bool badText = false;   // text or key not UTF-8 or holding NUL
  bool tooDeep = false;   // nesting beyond kMaxDepth
  bool xmlDate = false;   // a date the XML form cannot hold
  bool xmlText = false;   // text or a key with a character XML 1.0 forbids
};

void survey(const PropertyDictionary& d, std::size_t level, Obstacles& o);

void survey(const PropertyValue& v, std::size_t level, Obstacles& o) {
  if (const std::string* text = v.textValue()) {
    o.badText = o.badText || !writableText(*text);
    o.xmlText = o.xmlText || xmlForbids(*text);
    return;
  }
  const PropertyOther* other = v.otherValue();
  if (other == nullptr) return;
  if (const PropertyDate* date = other->date()) {
    const double s = date->secondsSinceReferenceDate;
    o.xmlDate = o.xmlDate || !(s >= kYear1000 && s < kYear10000);
  } else if (const auto* array = other->array()) {
    if (level + 1 > plist::kMaxDepth) o.tooDeep = true;
    for (const auto& element : *array) survey(element, level + 1, o);
  } else if (const auto* nested = other->dictionary()) {
    survey(*nested, level + 1, o);
  }
}

void survey(const PropertyDictionary& d, std::size_t level, Obstacles& o) {
  if (level > plist::kMaxDepth) o.tooDeep = true;
  for (const auto& [key, value] : d) {
    o.badText = o.badText || !writableText(key);
    o.xmlText = o.xmlText || xmlForbids(key);
    survey(value, level, o);
  }
}

// What a written dictionary reads back as: a number object and an unsigned integer
// within Int64 become integers.
PropertyDictionary afterWriting(const PropertyDictionary& d);

PropertyValue afterWriting(const PropertyValue& v) {
  if (auto n = v.numberObjectValue()) return PropertyValue::integer(*n);
  const PropertyOther* other = v.otherValue();
  if (other == nullptr) return v;
  if (const auto* u = other->unsignedInteger()) {
    if (*u <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))
      return PropertyValue::integer(static_cast<std::int64_t>(*u));
    return v;
  }
  if (const auto* array = other->array()) {
    PropertyOther::Array out;
    for (const auto& element : *array) out.push_back(afterWriting(element));
    return PropertyValue::other(PropertyOther(std::move(out)));
  }
  if (const auto* nested = other->dictionary()) return PropertyValue::other(PropertyOther(afterWriting(*nested)));
  return v;
}

PropertyDictionary afterWriting(const PropertyDictionary& d) {
  PropertyDictionary out;
  for (const auto& [key, value] : d) out.setValue(key, afterWriting(value));
  return out;
}

bool sameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// Equality of read-back values: reals and dates bit for bit in the binary form; in XML,
// dates to the second, zero of either sign, and NaN equal to NaN.
bool matches(const PropertyDictionary& a, const PropertyDictionary& b, Format format);

bool matches(const PropertyValue& a, const PropertyValue& b, Format format) {
  const PropertyOther* oa = a.otherValue();
  const PropertyOther* ob = b.otherValue();
  if (oa == nullptr || ob == nullptr) return a == b;
  if (oa->real() && ob->real()) {
    const double x = *oa->real(), y = *ob->real();
    if (format == Format::binary) return sameBits(x, y);
    return x == y || (std::isnan(x) && std::isnan(y));
  }
  if (oa->date() && ob->date()) {
    const double x = oa->date()->secondsSinceReferenceDate, y = ob->date()->secondsSinceReferenceDate;
    if (format == Format::binary) return sameBits(x, y);
    // XML keeps whole seconds (floor); x - floor(x) is below 1, but rounds to 1.0 for a
    // tiny negative x such as -1.8e-43.
    return std::fabs(x - y) <= 1.0;
  }
  if (oa->array() && ob->array()) {
    const auto &x = *oa->array(), &y = *ob->array();
    if (x.size() != y.size()) return false;
    for (std::size_t i = 0; i < x.size(); ++i)
      if (!matches(x[i], y[i], format)) return false;
    return true;
  }
  if (oa->dictionary() && ob->dictionary()) return matches(*oa->dictionary(), *ob->dictionary(), format);
  return *oa == *ob;
}

bool matches(const PropertyDictionary& a, const PropertyDictionary& b, Format format) {
  if (a.size() != b.size()) return false;
  for (auto i = a.begin(), j = b.begin(); i != a.end(); ++i, ++j)
    if (i->first != j->first || !matches(i->second, j->second, format)) return false;
  return true;
}

const char* name(Format f) { return f == Format::xml ? "XML" : "binary"; }

bool isReadingKind(PlistError::Kind k) {
  using K = PlistError::Kind;
  return k == K::malformed || k == K::unexpectedShape || k == K::unsupportedValue || k == K::tooDeep ||
         k == K::tooLarge;
}

// Writes, reads back and compares; refusal exactly where the obstacles say.
void writeAndReadBack(const PropertyDictionary& d, const Obstacles& o, Format format) {
  const bool refusable = o.badText || o.tooDeep || (format == Format::xml && (o.xmlDate || o.xmlText));
  std::string bytes;
  try {
    bytes = plist::serialize(d, format);
  } catch (const PlistError& e) {
    using K = PlistError::Kind;
    check(refusable, "a writable dictionary is written", std::string(name(format)) + ": " + e.what());
    check(e.kind() == K::unwritable || e.kind() == K::tooDeep, "writing refuses as unwritable or tooDeep", e.what());
    check(std::string_view(e.what()).starts_with("cannot write property list: "), "writing errors say so", e.what());
    if (e.kind() == K::tooDeep) check(o.tooDeep, "tooDeep only for deep nesting", e.what());
    return;
  } catch (const std::exception& e) {
    fail("writing raises only PlistError", e.what());
  }
  check(!refusable, "an unwritable dictionary is refused", name(format));
  PropertyDictionary back;
  try {
    back = plist::parseDictionary(bytes);
  } catch (const std::exception& e) {
    fail("what the format writes it reads", std::string(name(format)) + ": " + e.what() + "\n" + bytes);
  }
  check(matches(back, afterWriting(d), format), "a written dictionary reads back as documented",
        std::string(name(format)) + ":\n" + bytes);
  if (format == Format::xml) {
    check(plist::serialize(back, format) == bytes, "the XML form is settled after one pass", bytes);
  }
}

// A node's dictionary form through a property list reads as the dictionary itself does
// (the number objects come back as integers, which readInt takes alike).
void checkNodeThroughPlist(const PropertyDictionary& d) {
  const auto written = DicomNode(d).toDictionary();
  if (!written) return;
  Obstacles o;
  survey(*written, 1, o);
  for (Format format : {Format::xml, Format::binary}) {
    if (o.badText || (format == Format::xml && o.xmlText)) continue;  // covered by writeAndReadBack
    const auto back = plist::parseDictionary(plist::serialize(*written, format));
    DicomNode viaPlist(back), direct(*written);
    viaPlist.uniqueId = direct.uniqueId;
    check(viaPlist == direct, "a node's dictionary form means the same after a property list", name(format));
  }
}

}  // namespace

void checkPlistWriting(const PropertyDictionary& d) {
  Obstacles o;
  survey(d, 1, o);
  writeAndReadBack(d, o, Format::binary);
  writeAndReadBack(d, o, Format::xml);
  checkNodeThroughPlist(d);
}

void checkPlistBytes(std::string_view bytes) {
  plist::PropertyListDocument document;
  try {
    document = plist::parse(bytes);
  } catch (const PlistError& e) {
    check(isReadingKind(e.kind()), "reading refuses with a reading kind", e.what());
    check(std::string_view(e.what()).starts_with("cannot read property list: "), "reading errors say so", e.what());
    return;
  } catch (const std::exception& e) {
    fail("reading raises only PlistError", e.what());
  }
  for (const auto& d : document.dictionaries) {
    checkDictionaryReading(d);
    Obstacles o;
    survey(d, document.wasArray ? 2 : 1, o);
    check(!o.badText && !o.tooDeep, "what is read has no text or nesting a property list cannot hold");
    checkPlistWriting(d);
  }
  // The document as a whole: binary gives it back exactly (modulo number kinds).
  if (document.dictionaries.size() == 1 || document.wasArray) {
    try {
      const auto back = plist::parse(plist::serialize(document, Format::binary));
      check(back.wasArray == document.wasArray && back.dictionaries.size() == document.dictionaries.size(),
            "a document keeps its shape through the binary form");
      for (std::size_t i = 0; i < back.dictionaries.size(); ++i)
        check(matches(back.dictionaries[i], afterWriting(document.dictionaries[i]), Format::binary),
              "a document's dictionaries come back through the binary form");
    } catch (const PlistError& e) {
      fail("a document read is written again in the binary form", e.what());
    }
  }
}

}  // namespace telvor::fuzz
