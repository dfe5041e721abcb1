#include <bit>
#include <cstdint>
#include <limits>
#include <string>
#include <unordered_set>
#include <vector>

#include "detail/binary_layout.hpp"
#include "detail/writers.hpp"
#include "telvor/plist/plist.hpp"

namespace telvor::plist::detail {
namespace {

// A binary list is written bottom-up: every object's children (and a dictionary's keys)
// before the object, so that its references are known when it is written. Equal scalars
// (every repeated key, text and number) are written once and referred to from each place.
class BinaryWriter {
 public:
  std::string run(const WriteRoot& root) {
    // References are as wide as the object count needs; counting every value without the
    // sharing gives a bound that is never too small.
    const std::uint64_t bound = 1 + root.dictionaries.size() + [&] {
      std::uint64_t n = 0;
      for (const auto& d : root.dictionaries) n += objectBound(d);
      return n;
    }();
    referenceSize_ = widthOf(bound);
    out_.append(kBinaryMagic);

    const CodingPathLink top;
    std::uint64_t topObject = 0;
    if (root.asArray) {
      std::vector<std::uint64_t> elements;
      elements.reserve(root.dictionaries.size());
      std::int64_t index = 0;
      for (const PropertyDictionary& d : root.dictionaries) {
        const CodingPathLink here(&top, index++);
        elements.push_back(dictionary(d, here, 2));
      }
      topObject = container(0xA, elements);
    } else {
      topObject = dictionary(root.dictionaries.front(), top, 1);
    }

    const std::uint64_t tableStart = out_.size();
    const std::size_t offsetSize = widthOf(tableStart);
    for (const std::uint64_t offset : offsets_) appendBigEndian(offset, offsetSize);
    out_.append(6, '\0');  // unused, sort version
    out_ += static_cast<char>(offsetSize);
    out_ += static_cast<char>(referenceSize_);
    appendBigEndian(offsets_.size(), 8);
    appendBigEndian(topObject, 8);
    appendBigEndian(tableStart, 8);
    return std::move(out_);
  }

 private:
  // Hashes and compares scalar objects by their bytes in the output.
  struct Hash {
    const BinaryWriter* writer;
    std::size_t operator()(std::uint64_t object) const {
      return std::hash<std::string_view>()(writer->bytesOf(object));
    }
  };
  struct Equal {
    const BinaryWriter* writer;
    bool operator()(std::uint64_t a, std::uint64_t b) const { return writer->bytesOf(a) == writer->bytesOf(b); }
  };

  static std::size_t widthOf(std::uint64_t value) {
    return value <= 0xFF ? 1 : value <= 0xFFFF ? 2 : value <= 0xFFFFFFFF ? 4 : 8;
  }

  // Stops below kMaxDepth, where writing refuses anyway.
  static std::uint64_t objectBound(const PropertyDictionary& d, std::size_t level = 1) {
    std::uint64_t n = 1;
    if (level > kMaxDepth) return n;
    for (const auto& [key, value] : d) n += 1 + objectBound(value, level);
    return n;
  }
  static std::uint64_t objectBound(const PropertyValue& v, std::size_t level) {
    const PropertyOther* other = v.otherValue();
    if (other == nullptr) return 1;
    if (const auto* d = other->dictionary()) return objectBound(*d, level + 1);
    std::uint64_t n = 1;
    if (const auto* a = other->array(); a != nullptr && level <= kMaxDepth)
      for (const auto& e : *a) n += objectBound(e, level + 1);
    return n;
  }

  std::string_view bytesOf(std::uint64_t object) const {
    const std::uint64_t end = object + 1 < offsets_.size() ? offsets_[object + 1] : out_.size();
    return std::string_view(out_).substr(offsets_[object], end - offsets_[object]);
  }

  void appendBigEndian(std::uint64_t value, std::size_t width) {
    for (std::size_t i = width; i-- > 0;) out_ += static_cast<char>((value >> (8 * i)) & 0xFF);
  }

  // A marker with its count: in the low nibble, or as an integer object after 0xF.
  void appendMarker(unsigned type, std::uint64_t count) {
    if (count < 15) {
      out_ += static_cast<char>((type << 4) | count);
      return;
    }
    out_ += static_cast<char>((type << 4) | 0xF);
    const std::size_t width = widthOf(count);
    out_ += static_cast<char>(0x10 | std::countr_zero(width));
    appendBigEndian(count, width);
  }

  // Starts a new object; finish with scalarDone().
  std::uint64_t begin() {
    offsets_.push_back(out_.size());
    return offsets_.size() - 1;
  }
  // The scalar just written, or an equal one written before (the new copy then goes).
  std::uint64_t scalarDone(std::uint64_t object) {
    const auto [existing, added] = scalars_.insert(object);
    if (added) return object;
    out_.resize(offsets_.back());
    offsets_.pop_back();
    return *existing;
  }

  std::uint64_t text(std::string_view text) {
    const std::uint64_t object = begin();
    bool ascii = true;
    for (const char c : text) ascii = ascii && static_cast<unsigned char>(c) < 0x80;
    if (ascii) {
      appendMarker(0x5, text.size());
      out_.append(text);
      return scalarDone(object);
    }
    // UTF-16 big-endian, counted in code units; the text is valid UTF-8 (checked).
    std::u16string units;
    units.reserve(text.size());
    for (std::size_t i = 0; i < text.size();) {
      const auto c = static_cast<unsigned char>(text[i]);
      const std::size_t length = c < 0x80 ? 1 : c < 0xE0 ? 2 : c < 0xF0 ? 3 : 4;
      char32_t cp = length == 1 ? c : length == 2 ? c & 0x1F : length == 3 ? c & 0x0F : c & 0x07;
      for (std::size_t k = 1; k < length; ++k) cp = (cp << 6) | (static_cast<unsigned char>(text[i + k]) & 0x3F);
      i += length;
      if (cp >= 0x10000) {
        cp -= 0x10000;
        units += static_cast<char16_t>(0xD800 + (cp >> 10));
        units += static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
      } else {
        units += static_cast<char16_t>(cp);
      }
    }
    appendMarker(0x6, units.size());
    for (const char16_t unit : units) appendBigEndian(unit, 2);
    return scalarDone(object);
  }

  std::uint64_t signedInteger(std::int64_t value) {
    const std::uint64_t object = begin();
    if (value < 0) {
      out_ += '\x13';
      appendBigEndian(static_cast<std::uint64_t>(value), 8);
    } else {
      const std::size_t width = widthOf(static_cast<std::uint64_t>(value));
      // Widths up to 4 are read as unsigned, 8 as signed: both fit a value from 0 up.
      out_ += static_cast<char>(0x10 | std::countr_zero(width));
      appendBigEndian(static_cast<std::uint64_t>(value), width);
    }
    return scalarDone(object);
  }

  std::uint64_t unsignedInteger(std::uint64_t value) {
    if (value <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
      return signedInteger(static_cast<std::int64_t>(value));
    }
    const std::uint64_t object = begin();
    out_ += '\x14';  // 16 bytes: the only width read as unsigned beyond 2^63
    appendBigEndian(0, 8);
    appendBigEndian(value, 8);
    return scalarDone(object);
  }

  std::uint64_t bits(char marker, double value) {
    const std::uint64_t object = begin();
    out_ += marker;
    appendBigEndian(std::bit_cast<std::uint64_t>(value), 8);
    return scalarDone(object);
  }

  std::uint64_t container(unsigned type, const std::vector<std::uint64_t>& references) {
    const std::uint64_t object = begin();
    appendMarker(type, type == 0xD ? references.size() / 2 : references.size());
    for (const std::uint64_t reference : references) appendBigEndian(reference, referenceSize_);
    return object;
  }

  std::uint64_t dictionary(const PropertyDictionary& d, const CodingPathLink& at, std::size_t level) {
    checkLevel(at, level);
    std::vector<std::uint64_t> references(d.size() * 2);
    std::size_t i = 0;
    for (const auto& [key, value] : d) {
      checkText(key, at, true);
      references[i] = text(key);
      const CodingPathLink here(&at, key);
      references[d.size() + i] = this->value(value, here, level);
      ++i;
    }
    return container(0xD, references);
  }

  // An entry or element whose container stands at `level`.
  std::uint64_t value(const PropertyValue& value, const CodingPathLink& at, std::size_t level) {
    switch (value.kind()) {
      case PropertyValue::Kind::text: checkText(*value.textValue(), at, false); return text(*value.textValue());
      case PropertyValue::Kind::integer: return signedInteger(*value.integerValue());
      case PropertyValue::Kind::numberObject: return signedInteger(*value.numberObjectValue());
      case PropertyValue::Kind::boolean: {
        const std::uint64_t object = begin();
        out_ += *value.booleanValue() ? '\x09' : '\x08';
        return scalarDone(object);
      }
      case PropertyValue::Kind::other: break;
    }
    const PropertyOther& other = *value.otherValue();
    if (const PropertyDictionary* nested = other.dictionary()) return dictionary(*nested, at, level + 1);
    if (const PropertyOther::Array* elements = other.array()) {
      checkLevel(at, level + 1);
      std::vector<std::uint64_t> references;
      references.reserve(elements->size());
      std::int64_t index = 0;
      for (const PropertyValue& element : *elements) {
        const CodingPathLink here(&at, index++);
        references.push_back(this->value(element, here, level + 1));
      }
      return container(0xA, references);
    }
    if (const double* real = other.real()) return bits('\x23', *real);
    if (const PropertyDate* date = other.date()) return bits('\x33', date->secondsSinceReferenceDate);
    if (const std::uint64_t* u = other.unsignedInteger()) return unsignedInteger(*u);
    const PropertyOther::Data& data = *other.data();
    const std::uint64_t object = begin();
    appendMarker(0x4, data.size());
    out_.append(reinterpret_cast<const char*>(data.data()), data.size());
    return scalarDone(object);
  }

  std::string out_;
  std::vector<std::uint64_t> offsets_;
  std::size_t referenceSize_ = 1;
  std::unordered_set<std::uint64_t, Hash, Equal> scalars_{64, Hash{this}, Equal{this}};
};

}  // namespace

std::string writeBinary(const WriteRoot& root) { return BinaryWriter().run(root); }

}  // namespace telvor::plist::detail
