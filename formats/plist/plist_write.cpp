#include <string>
#include <string_view>

#include "detail/libplist_node.hpp"
#include "detail/refuse.hpp"
#include "telvor/coding/coding_path.hpp"
#include "telvor/coding/text.hpp"
#include "telvor/plist/plist.hpp"

namespace telvor::plist {
namespace {

using detail::NodeHandle;
using detail::adopt;
using detail::refuseOutput;
using Kind = PlistError::Kind;

std::string where(const CodingPathLink& at) { return describe(at.materialize()); }

// libplist takes text as C strings, and turns it into UTF-16 for the binary form: text
// must be UTF-8 without NUL characters to come out as it went in. Says what is wrong
// with `text`, if anything.
const char* textFault(std::string_view text) {
  if (!isValidUtf8(text)) return "is not valid UTF-8";
  if (text.find('\0') != std::string_view::npos) return "contains a NUL character";
  return nullptr;
}

// The dates libplist writes in the XML form's four-digit years: 1000-01-01T00:00:00Z up
// to the end of 9999, in seconds since 2001-01-01. Outside them it writes a malformed
// year or an empty element.
constexpr double kXmlDateStart = -31588531200.0;
constexpr double kXmlDateEnd = 252423993600.0;

// Builds a libplist tree from property values. Recursion is bounded by kMaxDepth, so
// everything written can be read back.
class Writer {
 public:
  explicit Writer(Format format) : format_(format) {}

  NodeHandle dictionary(const PropertyDictionary& dictionary, const CodingPathLink& at, std::size_t level) const {
    checkLevel(at, level);
    NodeHandle node = adopt(plist_new_dict());
    for (const auto& [key, value] : dictionary) {
      // A refused key is not shown: it may not be printable.
      if (const char* fault = textFault(key)) refuseOutput(Kind::unwritable, "a key in " + where(at) + " " + fault);
      const CodingPathLink here(&at, key);
      NodeHandle child = this->value(value, here, level);
      plist_dict_set_item(node.get(), key.c_str(), child.release());
    }
    return node;
  }

 private:
  static void checkLevel(const CodingPathLink& at, std::size_t level) {
    if (level > kMaxDepth) {
      refuseOutput(Kind::tooDeep, "nested deeper than " + std::to_string(kMaxDepth) + " levels at " + where(at));
    }
  }

  // An entry or element whose container stands at `level`.
  NodeHandle value(const PropertyValue& value, const CodingPathLink& at, std::size_t level) const {
    switch (value.kind()) {
      case PropertyValue::Kind::text:
        if (const char* fault = textFault(*value.textValue())) {
          refuseOutput(Kind::unwritable, "the text at " + where(at) + " " + fault);
        }
        return adopt(plist_new_string(value.textValue()->c_str()));
      case PropertyValue::Kind::integer: return detail::newSignedInteger(*value.integerValue());
      case PropertyValue::Kind::boolean: return adopt(plist_new_bool(*value.booleanValue() ? 1 : 0));
      case PropertyValue::Kind::numberObject: return detail::newSignedInteger(*value.numberObjectValue());
      case PropertyValue::Kind::other: break;
    }
    return other(*value.otherValue(), at, level);
  }

  NodeHandle other(const PropertyOther& other, const CodingPathLink& at, std::size_t level) const {
    if (const double* real = other.real()) return adopt(plist_new_real(*real));
    if (const PropertyDate* date = other.date()) {
      const double seconds = date->secondsSinceReferenceDate;
      if (format_ == Format::xml && !(seconds >= kXmlDateStart && seconds < kXmlDateEnd)) {
        refuseOutput(Kind::unwritable, "the date at " + where(at) + " lies outside the years 1000 to 9999 of the XML form");
      }
      return detail::newDate(seconds);
    }
    if (const PropertyOther::Data* data = other.data()) {
      static const char none = 0;  // libplist copies from the pointer even for no bytes
      return adopt(plist_new_data(data->empty() ? &none : reinterpret_cast<const char*>(data->data()), data->size()));
    }
    if (const std::uint64_t* unsignedInteger = other.unsignedInteger()) {
      return detail::newUnsignedInteger(*unsignedInteger);
    }
    if (const PropertyOther::Array* elements = other.array()) {
      checkLevel(at, level + 1);
      NodeHandle node = adopt(plist_new_array());
      std::int64_t index = 0;
      for (const PropertyValue& element : *elements) {
        const CodingPathLink here(&at, index++);
        NodeHandle child = value(element, here, level + 1);
        plist_array_append_item(node.get(), child.release());
      }
      return node;
    }
    return dictionary(*other.dictionary(), at, level + 1);
  }

  Format format_;
};

std::string output(const NodeHandle& root, Format format) {
  return format == Format::binary ? detail::toBinary(root.get()) : detail::toXml(root.get());
}

}  // namespace

std::string serialize(const PropertyDictionary& dictionary, Format format) {
  return output(Writer(format).dictionary(dictionary, {}, 1), format);
}

std::string serialize(const PropertyListDocument& document, Format format) {
  if (!document.wasArray) {
    if (document.dictionaries.size() != 1) {
      refuseOutput(Kind::unwritable, "a document of " + std::to_string(document.dictionaries.size()) +
                                         " dictionaries must be written as an array (wasArray)");
    }
    return serialize(document.dictionaries.front(), format);
  }
  NodeHandle root = adopt(plist_new_array());
  const CodingPathLink top;
  const Writer writer(format);
  std::int64_t index = 0;
  for (const PropertyDictionary& dictionary : document.dictionaries) {
    const CodingPathLink here(&top, index++);
    NodeHandle child = writer.dictionary(dictionary, here, 2);
    plist_array_append_item(root.get(), child.release());
  }
  return output(root, format);
}

}  // namespace telvor::plist
