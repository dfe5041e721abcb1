#include <charconv>
#include <cstdint>
#include <string>

#include "detail/refuse.hpp"
#include "detail/writers.hpp"
#include "detail/xml_scalars.hpp"
#include "telvor/plist/plist.hpp"

namespace telvor::plist::detail {
namespace {

using Kind = PlistError::Kind;

constexpr std::string_view kHeader =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
    "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" \"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
    "<plist version=\"1.0\">\n";

// The dates the XML form's four-digit years hold: 1000-01-01T00:00:00Z up to the end of
// 9999, in seconds since 2001-01-01.
constexpr double kXmlDateStart = -31588531200.0;
constexpr double kXmlDateEnd = 252423993600.0;

// The character XML 1.0 cannot hold that starts at `text[i]` (a C0 control other than
// tab, line feed and carriage return, U+FFFE or U+FFFF), as "U+0001"; else empty.
std::string forbiddenAt(std::string_view text, std::size_t i) {
  const auto c = static_cast<unsigned char>(text[i]);
  char name[8] = "U+0000";
  if (c < 0x20 && c != '\t' && c != '\n' && c != '\r') {
    name[4] = "0123456789ABCDEF"[c >> 4];
    name[5] = "0123456789ABCDEF"[c & 0xF];
    return name;
  }
  if (c == 0xEF && text.substr(i + 1, 1) == "\xBF" && i + 2 < text.size() &&
      (static_cast<unsigned char>(text[i + 2]) & 0xFE) == 0xBE) {
    return text[i + 2] == '\xBE' ? "U+FFFE" : "U+FFFF";
  }
  return {};
}

class XmlWriter {
 public:
  std::string run(const WriteRoot& root) {
    out_.append(kHeader);
    const CodingPathLink top;
    if (root.asArray) {
      if (root.count == 0) {
        out_ += "<array/>\n";
      } else {
        out_ += "<array>\n";
        for (std::size_t i = 0; i < root.count; ++i) {
          const CodingPathLink here(&top, static_cast<std::int64_t>(i));
          root.visit(i, [&](const PropertyDictionary& d) { dictionary(d, here, 2, 1); });
          if (i == 0) out_.reserve(outputEstimate(out_.size(), root.count));
        }
        out_ += "</array>\n";
      }
    } else {
      root.visit(0, [&](const PropertyDictionary& d) { dictionary(d, top, 1, 0); });
    }
    out_ += "</plist>\n";
    return std::move(out_);
  }

 private:
  void indent(std::size_t depth) { out_.append(depth, '\t'); }

  // Appends `text` escaped; refuses what the XML form cannot hold.
  void escaped(std::string_view text, const CodingPathLink& at, bool isKey) {
    checkText(text, at, isKey);
    std::size_t plain = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
      const auto c = static_cast<unsigned char>(text[i]);
      if (c >= 0x20 && c != '&' && c != '<' && c != '>' && c != 0xEF) continue;
      const char* replacement = nullptr;
      switch (c) {
        case '&': replacement = "&amp;"; break;
        case '<': replacement = "&lt;"; break;
        case '>': replacement = "&gt;"; break;
        case '\r': replacement = "&#13;"; break;  // a raw one would read back as a line feed
        case '\t':
        case '\n': continue;
        default:
          if (const std::string name = forbiddenAt(text, i); !name.empty()) {
            const std::string path = where(at);
            refuseOutput(Kind::unwritable,
                         (isKey ? "a key in " + path : "the text at " + path) + " holds " + name +
                             ", which the XML form cannot hold (the binary form can)",
                         path);
          }
          continue;
      }
      out_.append(text.substr(plain, i - plain));
      out_.append(replacement);
      plain = i + 1;
    }
    out_.append(text.substr(plain));
  }

  void dictionary(const PropertyDictionary& dictionary, const CodingPathLink& at, std::size_t level, std::size_t depth) {
    checkLevel(at, level);
    indent(depth);
    if (dictionary.empty()) {
      out_ += "<dict/>\n";
      return;
    }
    out_ += "<dict>\n";
    for (const auto& [key, value] : dictionary) {
      indent(depth + 1);
      out_ += "<key>";
      escaped(key, at, true);
      out_ += "</key>\n";
      const CodingPathLink here(&at, key);
      this->value(value, here, level, depth + 1);
    }
    indent(depth);
    out_ += "</dict>\n";
  }

  void integer(std::int64_t value) {
    char digits[24];
    out_ += "<integer>";
    out_.append(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
    out_ += "</integer>\n";
  }

  // An entry or element whose container stands at `level`, indented by `depth` tabs.
  void value(const PropertyValue& value, const CodingPathLink& at, std::size_t level, std::size_t depth) {
    switch (value.kind()) {
      case PropertyValue::Kind::text:
        indent(depth);
        out_ += "<string>";
        escaped(*value.textValue(), at, false);
        out_ += "</string>\n";
        return;
      case PropertyValue::Kind::integer: indent(depth); return integer(*value.integerValue());
      case PropertyValue::Kind::numberObject: indent(depth); return integer(*value.numberObjectValue());
      case PropertyValue::Kind::boolean:
        indent(depth);
        out_ += *value.booleanValue() ? "<true/>\n" : "<false/>\n";
        return;
      case PropertyValue::Kind::other: break;
    }
    other(*value.otherValue(), at, level, depth);
  }

  void other(const PropertyOther& other, const CodingPathLink& at, std::size_t level, std::size_t depth) {
    if (const PropertyDictionary* nested = other.dictionary()) return dictionary(*nested, at, level + 1, depth);
    if (const PropertyOther::Array* elements = other.array()) {
      checkLevel(at, level + 1);
      indent(depth);
      if (elements->empty()) {
        out_ += "<array/>\n";
        return;
      }
      out_ += "<array>\n";
      std::int64_t index = 0;
      for (const PropertyValue& element : *elements) {
        const CodingPathLink here(&at, index++);
        value(element, here, level + 1, depth + 1);
      }
      indent(depth);
      out_ += "</array>\n";
      return;
    }
    indent(depth);
    if (const double* real = other.real()) {
      out_ += "<real>";
      appendReal(out_, *real);
      out_ += "</real>\n";
    } else if (const PropertyDate* date = other.date()) {
      const double seconds = date->secondsSinceReferenceDate;
      if (!(seconds >= kXmlDateStart && seconds < kXmlDateEnd)) {
        const std::string path = where(at);
        refuseOutput(Kind::unwritable, "the date at " + path + " lies outside the years 1000 to 9999 of the XML form",
                     path);
      }
      out_ += "<date>";
      appendDate(out_, seconds);
      out_ += "</date>\n";
    } else if (const PropertyOther::Data* data = other.data()) {
      out_ += "<data>";
      appendBase64(out_, *data);
      out_ += "</data>\n";
    } else if (const std::uint64_t* unsignedInteger = other.unsignedInteger()) {
      char digits[24];
      out_ += "<integer>";
      out_.append(digits, std::to_chars(digits, digits + sizeof digits, *unsignedInteger).ptr);
      out_ += "</integer>\n";
    }
  }

  std::string out_;
};

}  // namespace

std::string writeXml(const WriteRoot& root) { return XmlWriter().run(root); }

}  // namespace telvor::plist::detail
