#include <algorithm>
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

// Scalars are written as they come, equal ones once (every repeated key, text and number
// is referred to from each place); containers, whose references are only as wide as the
// final object count needs, keep their references aside and are written after all
// scalars. Objects are numbered as they are made.
class BinaryWriter {
 public:
  std::string run(const WriteRoot& root) {
    out_.append(kBinaryMagic);
    const CodingPathLink top;
    std::uint64_t topObject = 0;
    if (root.asArray) {
      std::vector<std::uint64_t> elements;
      elements.reserve(root.count);
      for (std::size_t i = 0; i < root.count; ++i) {
        const CodingPathLink here(&top, static_cast<std::int64_t>(i));
        root.visit(i, [&](const PropertyDictionary& d) { elements.push_back(dictionary(d, here, 2)); });
        if (i == 0) {
          // Catalogues' dictionaries are alike: the first one's share foretells the whole,
          // and growing by doubling would hold the old and the new buffer at once.
          out_.reserve(outputEstimate(out_.size(), root.count));
          constexpr std::size_t kMostReserved = std::size_t{1} << 24;  // entries, of 8 bytes
          refs_.reserve(std::min(kMostReserved, outputEstimate(refs_.size(), root.count)));
          offsets_.reserve(std::min(kMostReserved, outputEstimate(offsets_.size(), root.count)));
        }
      }
      topObject = container(0xA, elements);
    } else {
      root.visit(0, [&](const PropertyDictionary& d) { topObject = dictionary(d, top, 1); });
    }
    writeContainers();

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
  // A scalar already written: where its bytes are, and its object number.
  struct Scalar {
    std::uint64_t offset;
    std::uint64_t length;
    std::uint64_t object;
  };
  struct Hash {
    const std::string* out;
    std::size_t operator()(const Scalar& s) const { return std::hash<std::string_view>()(out->substr(s.offset, s.length)); }
  };
  struct Equal {
    const std::string* out;
    bool operator()(const Scalar& a, const Scalar& b) const {
      return std::string_view(*out).substr(a.offset, a.length) == std::string_view(*out).substr(b.offset, b.length);
    }
  };
  // A container waiting to be written: its type and its references in refs_.
  struct Container {
    std::uint64_t object;
    std::uint64_t firstReference;
    std::uint64_t references;
    unsigned type;
  };

  static std::size_t widthOf(std::uint64_t value) {
    return value <= 0xFF ? 1 : value <= 0xFFFF ? 2 : value <= 0xFFFFFFFF ? 4 : 8;
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

  // Starts a scalar at the end of the output; finish it with scalarDone(start).
  std::size_t begin() const { return out_.size(); }
  // The scalar written since `start`, or an equal one written before (the copy then goes).
  std::uint64_t scalarDone(std::size_t start) {
    const auto [existing, added] = scalars_.insert(Scalar{start, out_.size() - start, offsets_.size()});
    if (!added) {
      out_.resize(start);
      return existing->object;
    }
    offsets_.push_back(start);
    return offsets_.size() - 1;
  }

  std::uint64_t container(unsigned type, const std::vector<std::uint64_t>& references) {
    const std::uint64_t object = offsets_.size();
    offsets_.push_back(0);  // known once containers are written
    containers_.push_back(Container{object, refs_.size(), references.size(), type});
    refs_.insert(refs_.end(), references.begin(), references.end());
    return object;
  }

  void writeContainers() {
    referenceSize_ = widthOf(offsets_.size());
    for (const Container& c : containers_) {
      offsets_[c.object] = out_.size();
      appendMarker(c.type, c.type == 0xD ? c.references / 2 : c.references);
      for (std::uint64_t i = 0; i < c.references; ++i) appendBigEndian(refs_[c.firstReference + i], referenceSize_);
    }
  }

  std::uint64_t text(std::string_view text) {
    const std::size_t object = begin();
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
    const std::size_t object = begin();
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
    const std::size_t object = begin();
    out_ += '\x14';  // 16 bytes: the only width read as unsigned beyond 2^63
    appendBigEndian(0, 8);
    appendBigEndian(value, 8);
    return scalarDone(object);
  }

  std::uint64_t bits(char marker, double value) {
    const std::size_t object = begin();
    out_ += marker;
    appendBigEndian(std::bit_cast<std::uint64_t>(value), 8);
    return scalarDone(object);
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
        const std::size_t object = begin();
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
    const std::size_t object = begin();
    appendMarker(0x4, data.size());
    out_.append(reinterpret_cast<const char*>(data.data()), data.size());
    return scalarDone(object);
  }

  std::string out_;
  std::vector<std::uint64_t> offsets_;  // by object number
  std::vector<Container> containers_;
  std::vector<std::uint64_t> refs_;
  std::size_t referenceSize_ = 1;
  std::unordered_set<Scalar, Hash, Equal> scalars_{64, Hash{&out_}, Equal{&out_}};
};

}  // namespace

std::string writeBinary(const WriteRoot& root) { return BinaryWriter().run(root); }

}  // namespace telvor::plist::detail
