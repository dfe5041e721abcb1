#include "detail/binary_reader.hpp"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "detail/binary_layout.hpp"
#include "detail/refuse.hpp"
#include "detail/value_builder.hpp"
#include "telvor/coding/text.hpp"

namespace telvor::plist::detail {
namespace {

using Kind = PlistError::Kind;
using Shape = ValueBuilder::Shape;

// The object markers' high nibbles.
constexpr unsigned kSimple = 0x0;  // null, false, true, fill
constexpr unsigned kInteger = 0x1;
constexpr unsigned kReal = 0x2;
constexpr unsigned kDate = 0x3;
constexpr unsigned kData = 0x4;
constexpr unsigned kAsciiString = 0x5;
constexpr unsigned kUtf16String = 0x6;
constexpr unsigned kUid = 0x8;
constexpr unsigned kArray = 0xA;
constexpr unsigned kOrderedSet = 0xB;
constexpr unsigned kSet = 0xC;
constexpr unsigned kDictionary = 0xD;

// How many decoded keys the reader keeps (a power of two): a catalogue's records have a
// few dozen.
constexpr std::size_t kKeysKept = 1024;
static_assert(std::has_single_bit(kKeysKept));

constexpr std::uint64_t kExpandedBytesFloor = std::uint64_t{64} << 20;
constexpr std::uint64_t kExpandedBytesFactor = 16;

// An open array, set or dictionary on the walk's stack.
struct Frame {
  std::uint64_t object = 0;
  std::size_t referencesAt = 0;
  std::uint64_t count = 0;  // elements, or a dictionary's entries
  std::uint64_t next = 0;
  bool dictionary = false;
};

class BinaryReader {
 public:
  BinaryReader(std::string_view bytes, ValueBuilder::Take take, ValueBuilder::Expect expect)
      : builder_(std::move(take), std::move(expect)),
        bytes_(bytes),
        valueLimit_(bytes.size()),
        byteLimit_(std::max(kExpandedBytesFloor, kExpandedBytesFactor * bytes.size())) {}

  bool run() {
    if (!bytes_.starts_with(kBinaryMagic)) {
      refuseInput(Kind::malformed, "unsupported binary property list version \"" +
                                       std::string(bytes_.substr(0, std::min<std::size_t>(bytes_.size(), 8))) +
                                       "\" (only \"bplist00\" is read)");
    }
    const auto trailer = readTrailer(bytes_);
    if (!trailer) refuseInput(Kind::malformed, "binary property list with a truncated or damaged trailer");
    trailer_ = *trailer;
    end_ = trailer_.offsetTableStart;
    // The object count is bounded by the offset table, which lies inside the input.
    onStack_.assign(trailer_.objectCount, false);
    keys_.resize(std::bit_ceil(std::min<std::uint64_t>(trailer_.objectCount, kKeysKept)));
    walk();
    return builder_.finish();
  }

 private:
  void walk() {
    std::vector<Frame> stack;
    visit(trailer_.topObject, stack);
    while (!stack.empty()) {
      Frame& frame = stack.back();
      if (frame.next == frame.count) {
        onStack_[frame.object] = false;
        stack.pop_back();
        builder_.close();
        continue;
      }
      const std::uint64_t i = frame.next++;
      if (frame.dictionary) {
        const std::string& key = keyText(referenceAt(frame, i));
        count(key.size());
        builder_.key(std::string_view(key));
        visit(referenceAt(frame, frame.count + i), stack);  // `frame` may be stale now
      } else {
        visit(referenceAt(frame, i), stack);
      }
    }
  }

  // Counts one value of `bytes` bytes into the expansion and refuses past the limits.
  void count(std::uint64_t bytes) {
    ++values_;
    expandedBytes_ += std::max<std::uint64_t>(bytes, 1);
    if (values_ > valueLimit_ || expandedBytes_ > byteLimit_) [[unlikely]]
      tooLarge();
  }

  [[noreturn, gnu::noinline]] void tooLarge() const {
    refuseInput(Kind::tooLarge, "a binary property list of " + std::to_string(bytes_.size()) +
                                    " bytes whose shared objects expand to more than " +
                                    (values_ > valueLimit_ ? std::to_string(valueLimit_) + " values"
                                                           : std::to_string(byteLimit_) + " bytes"));
  }

  // Reads object `object` where the next value goes: a scalar at once, a container by
  // pushing its frame.
  void visit(std::uint64_t object, std::vector<Frame>& stack) {
    const std::size_t at = offsetOf(object);
    const auto marker = static_cast<unsigned char>(bytes_[at]);
    const unsigned type = marker >> 4;
    const unsigned info = marker & 0xFu;
    switch (type) {
      case kArray:
      case kOrderedSet:
      case kSet:
      case kDictionary: {
        // Only containers are ever on the stack.
        if (onStack_[object]) cycle(object);
        const bool dictionary = type == kDictionary;
        builder_.expect(dictionary ? Shape::dictionary : Shape::array);
        const auto [p, n] = countAt(object, at);
        const std::uint64_t perEntry = dictionary ? 2 : 1;
        if (n > (end_ - p) / trailer_.referenceSize / perEntry) truncated(object);
        count(1);
        builder_.open(dictionary ? ValueBuilder::Container::dictionary : ValueBuilder::Container::array,
                      static_cast<std::size_t>(n));
        onStack_[object] = true;
        stack.push_back(Frame{object, p, n, 0, dictionary});
        return;
      }
      case kSimple:
        if (info == 0x8 || info == 0x9) {
          builder_.expect(Shape::boolean);
          count(1);
          return builder_.value(PropertyValue::boolean(info == 0x9));
        }
        if (info == 0x0) refuseInput(Kind::unsupportedValue, "the null object at " + builder_.path() + " has no value");
        break;
      case kInteger: {
        builder_.expect(Shape::integer);
        if (info > 4) break;
        const std::size_t width = std::size_t{1} << info;
        need(object, at, width);
        count(1);
        if (width == 16) {
          if (readBigEndian(bytes_, at + 1, 8) != 0) {
            refuseInput(Kind::malformed, "binary object " + std::to_string(object) + " is an integer beyond 64 bits");
          }
          const std::uint64_t value = readBigEndian(bytes_, at + 9, 8);
          if (value > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max())) {
            return builder_.value(PropertyValue::other(PropertyOther(value)));
          }
          return builder_.value(PropertyValue::integer(static_cast<std::int64_t>(value)));
        }
        // Widths up to 4 are unsigned; 8 bytes are two's complement.
        return builder_.value(PropertyValue::integer(static_cast<std::int64_t>(readBigEndian(bytes_, at + 1, width))));
      }
      case kReal:
        builder_.expect(Shape::real);
        if (info == 2) {
          need(object, at, 4);
          count(1);
          const auto bits = static_cast<std::uint32_t>(readBigEndian(bytes_, at + 1, 4));
          return builder_.value(PropertyValue::other(PropertyOther(static_cast<double>(std::bit_cast<float>(bits)))));
        }
        if (info == 3) {
          need(object, at, 8);
          count(1);
          return builder_.value(PropertyValue::other(PropertyOther(std::bit_cast<double>(readBigEndian(bytes_, at + 1, 8)))));
        }
        break;
      case kDate:
        builder_.expect(Shape::date);
        if (info != 3) break;
        need(object, at, 8);
        count(1);
        return builder_.value(
            PropertyValue::other(PropertyOther(PropertyDate{std::bit_cast<double>(readBigEndian(bytes_, at + 1, 8))})));
      case kData: {
        builder_.expect(Shape::data);
        const auto [p, n] = countAt(object, at);
        if (n > end_ - p) truncated(object);
        count(n);
        const auto* first = reinterpret_cast<const std::uint8_t*>(bytes_.data() + p);
        return builder_.value(PropertyValue::other(PropertyOther(PropertyOther::Data(first, first + n))));
      }
      case kAsciiString:
      case kUtf16String: {
        builder_.expect(Shape::string);
        std::string text = textAt(object, at, false);
        count(text.size());
        return builder_.value(PropertyValue::text(std::move(text)));
      }
      case kUid:
        refuseInput(Kind::unsupportedValue,
                    "the UID (a keyed-archive reference) at " + builder_.path() + " has no property-dictionary counterpart");
      default: break;
    }
    refuseInput(Kind::malformed, "binary object " + std::to_string(object) + " has an unknown type (marker 0x" +
                                     "0123456789abcdef"[type] + "0123456789abcdef"[info] + ")");
  }

  // Keys are shared by every dictionary that has them: each key object is decoded and
  // checked once, then found again by its number. Two keys whose numbers share a slot
  // take turns in it. The text stays valid until the next call.
  const std::string& keyText(std::uint64_t object) {
    CachedKey& slot = keys_[object & (keys_.size() - 1)];
    if (slot.object == object) return slot.text;
    const std::size_t at = offsetOf(object);
    const unsigned type = static_cast<unsigned char>(bytes_[at]) >> 4;
    if (type != kAsciiString && type != kUtf16String) {
      refuseInput(Kind::malformed, "binary object " + std::to_string(object) + ", a dictionary key, is not a string");
    }
    slot.text = textAt(object, at, true);
    slot.object = object;
    return slot.text;
  }

  // The string object at `at` as UTF-8, checked as the writer would check it.
  std::string textAt(std::uint64_t object, std::size_t at, bool isKey) const {
    const bool utf16 = static_cast<unsigned char>(bytes_[at]) >> 4 == kUtf16String;
    const auto [p, n] = countAt(object, at);
    const std::size_t unit = utf16 ? 2 : 1;
    if (n > (end_ - p) / unit) truncated(object);
    const std::string_view raw = bytes_.substr(p, static_cast<std::size_t>(n) * unit);
    // Nearly every string is ASCII without NUL: one pass decides, and the text is made once.
    if (!utf16 && plainAscii(raw)) return std::string(raw);
    std::string text;
    bool valid = true;
    if (!utf16) {
      text.assign(raw);
      valid = isValidUtf8(text);
    } else {
      text.reserve(raw.size());
      for (std::size_t i = 0; i < raw.size(); i += 2) {
        char32_t c = static_cast<char32_t>(readBigEndian(raw, i, 2));
        if (c >= 0xD800 && c <= 0xDBFF && i + 2 < raw.size()) {
          const auto low = static_cast<char32_t>(readBigEndian(raw, i + 2, 2));
          if (low >= 0xDC00 && low <= 0xDFFF) {
            c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
            i += 2;
          }
        }
        if (c >= 0xD800 && c <= 0xDFFF) valid = false;
        appendUtf8(text, c);
      }
    }
    if (text.find('\0') != std::string::npos) {
      refuseInput(Kind::unsupportedValue, "binary object " + std::to_string(object) + ", a string, contains a NUL character");
    }
    if (!valid) {
      refuseInput(Kind::unsupportedValue, isKey ? "a key in " + builder_.path(true) + " is not valid UTF-8"
                                                : "the text at " + builder_.path() + " is not valid UTF-8");
    }
    return text;
  }

  // True when every byte is ASCII and none is NUL; eight bytes at a time.
  static bool plainAscii(std::string_view text) noexcept {
    constexpr std::uint64_t kOnes = 0x0101010101010101u;
    constexpr std::uint64_t kHighBits = 0x8080808080808080u;
    std::size_t i = 0;
    for (; i + 8 <= text.size(); i += 8) {
      std::uint64_t word;
      std::memcpy(&word, text.data() + i, 8);
      // A byte of 0 sets its high bit in word - kOnes; only a byte of 0 borrows.
      if (((word - kOnes) | word) & kHighBits) return false;
    }
    for (; i < text.size(); ++i)
      if (static_cast<unsigned char>(text[i]) - 1u >= 0x7Fu) return false;
    return true;
  }

  static void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else if (c < 0x800) {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      out += static_cast<char>(0xE0 | (c >> 12));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
      out += static_cast<char>(0xF0 | (c >> 18));
      out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
      out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }

  [[noreturn, gnu::noinline]] static void cycle(std::uint64_t object) {
    refuseInput(Kind::malformed, "a cycle of references through binary object " + std::to_string(object));
  }

  [[noreturn, gnu::noinline]] void truncated(std::uint64_t object) const {
    refuseInput(Kind::malformed, "binary object " + std::to_string(object) + " is truncated");
  }

  // Checks that `payload` bytes follow the marker at `at`.
  void need(std::uint64_t object, std::size_t at, std::size_t payload) const {
    if (end_ - at - 1 < payload) truncated(object);
  }

  std::size_t offsetOf(std::uint64_t object) const {
    const auto at = objectOffset(bytes_, trailer_, object);
    if (!at) [[unlikely]]
      outside(object);
    return *at;
  }

  [[noreturn, gnu::noinline]] static void outside(std::uint64_t object) {
    refuseInput(Kind::malformed, "binary object " + std::to_string(object) + " lies outside the list");
  }

  std::uint64_t referenceAt(const Frame& frame, std::uint64_t i) const {
    const std::uint64_t object =
        readBigEndian(bytes_, frame.referencesAt + static_cast<std::size_t>(i) * trailer_.referenceSize,
                      trailer_.referenceSize);
    if (object >= trailer_.objectCount) [[unlikely]]
      danglingReference(frame.object, object);
    return object;
  }

  [[noreturn, gnu::noinline]] void danglingReference(std::uint64_t from, std::uint64_t object) const {
    refuseInput(Kind::malformed, "binary object " + std::to_string(from) + " refers to object " +
                                     std::to_string(object) + " of " + std::to_string(trailer_.objectCount));
  }

  // Where the payload of the object at `at` starts, and its count: the marker's low
  // nibble, or for 0xF an integer object of 1, 2, 4 or 8 bytes that follows.
  std::pair<std::size_t, std::uint64_t> countAt(std::uint64_t object, std::size_t at) const {
    const unsigned info = static_cast<unsigned char>(bytes_[at]) & 0xFu;
    const std::size_t p = at + 1;
    if (info != 0xF) return {p, info};
    if (end_ - p < 1) truncated(object);
    const auto countMarker = static_cast<unsigned char>(bytes_[p]);
    const std::size_t width = std::size_t{1} << (countMarker & 0xFu);
    if ((countMarker >> 4) != kInteger || width > 8 || end_ - p - 1 < width) truncated(object);
    return {p + 1 + width, readBigEndian(bytes_, p + 1, width)};
  }

  ValueBuilder builder_;
  std::string_view bytes_;
  std::uint64_t valueLimit_;
  std::uint64_t byteLimit_;
  BinaryTrailer trailer_;
  std::size_t end_ = 0;  // where the object area ends: the offset table
  std::vector<bool> onStack_;
  struct CachedKey {
    std::uint64_t object = std::numeric_limits<std::uint64_t>::max();  // none: no object has this number
    std::string text;
  };
  std::vector<CachedKey> keys_;  // slot = object number modulo its size
  std::uint64_t values_ = 0;
  std::uint64_t expandedBytes_ = 0;
};

}  // namespace

bool readBinary(std::string_view bytes, ValueBuilder::Take take, ValueBuilder::Expect expect) {
  return BinaryReader(bytes, std::move(take), std::move(expect)).run();
}

}  // namespace telvor::plist::detail
