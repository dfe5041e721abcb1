#include "telvor/json/simdjson_document.hpp"

#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>
#include <simdjson.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "telvor/json/json.hpp"

namespace telvor::json {
namespace {

// Positions are words of simdjson's tape, its documented layout of a parsed document: the
// type in the top byte; a container's word holds the index just past its closing word
// (low 32 bits) and its count (saturating at 0xFFFFFF); an object's entries are key word,
// value; numbers take a second word; a string's payload is the offset of its 4-byte length
// and bytes in the string buffer.
using Word = std::uint64_t;
constexpr Word kPayload = (Word{1} << 56) - 1;
constexpr std::uint32_t kCountSaturated = 0xFFFFFF;

char typeOf(const Word* w) { return static_cast<char>(*w >> 56); }

// The kind of each tape type; 'u' is used only beyond Int64, 'd' for real numbers.
constexpr auto kKinds = [] {
  using Kind = DecoderBackend::ValueKind;
  std::array<Kind, 256> kinds{};
  kinds.fill(Kind::other);
  kinds['n'] = Kind::null;
  kinds['t'] = kinds['f'] = Kind::boolean;
  kinds['l'] = Kind::integer;
  kinds['u'] = Kind::integerOutOfRange;
  kinds['"'] = Kind::text;
  kinds['{'] = Kind::keyed;
  kinds['['] = Kind::unkeyed;
  return kinds;
}();

// Reads as the Boost.JSON reader does; the arrays and objects read last keep a cursor, so
// that reading elements (or entry names) in order costs one step each.
class SimdjsonBackend final : public DecoderBackend {
 public:
  void reset(const simdjson::dom::document& document) {
    tape_ = document.tape.get();
    strings_ = document.string_buf.get();
    cursors_ = {};
    clock_ = 0;
  }
  Position root() const noexcept { return tape_ + 1; }

  ValueKind kind(Position value) const noexcept override { return kKinds[static_cast<unsigned char>(typeOf(at(value)))]; }

  std::string describe(Position value) const override {
    const Word* w = at(value);
    switch (typeOf(w)) {
      case 'n': return "null";
      case 't':
      case 'f': return "a boolean";
      case 'l': return "the integer " + std::to_string(number<std::int64_t>(w));
      case 'u': return "the integer " + std::to_string(number<std::uint64_t>(w));
      case 'd':
        return "the real number " + boost::json::serialize(boost::json::value(number<double>(w)));
      case '"': return "a string";
      case '{': return "an object";
      case '[': return "an array";
      default: return "a value";
    }
  }

  Position entry(Position keyed, std::string_view key) const noexcept override {
    std::size_t hint = 0;
    return findEntry(keyed, key, hint);
  }

  // The hint holds, once an object has been looked at, whether its keys are all distinct
  // and where the key after the last one found stands. Distinct keys let the entry at the
  // hint be the answer; otherwise the last entry under the key is.
  Position findEntry(Position keyed, std::string_view key, std::size_t& hint) const noexcept override {
    const Word* object = at(keyed);
    const Word* end = closing(object);
    if ((hint & kChecked) == 0) hint = kChecked | (hasDuplicateKeys(object, end) ? kDuplicates : 0) | 1;
    if ((hint & kDuplicates) != 0) {
      const Word* found = nullptr;
      for (const Word* k = object + 1; k < end; k = after(k + 1))
        if (text(k) == key) found = k + 1;
      return found;
    }
    const Word* guess = object + (hint & kOffset);
    if (guess < end && text(guess) == key) return foundAt(object, guess, hint);
    for (const Word* k = object + 1; k < end; k = after(k + 1))
      if (text(k) == key) return foundAt(object, k, hint);
    return nullptr;
  }

  std::size_t entryCount(Position keyed) const noexcept override { return count(at(keyed), 2); }
  std::string_view entryName(Position keyed, std::size_t index) const noexcept override {
    return text(nth(at(keyed), index, 2));
  }
  std::size_t elementCount(Position unkeyed) const noexcept override { return count(at(unkeyed), 1); }
  Position element(Position unkeyed, std::size_t index) const noexcept override {
    return nth(at(unkeyed), index, 1);
  }

  bool boolValue(Position value) const noexcept override { return typeOf(at(value)) == 't'; }
  std::int64_t intValue(Position value) const noexcept override { return number<std::int64_t>(at(value)); }
  std::string_view textValue(Position value) const noexcept override { return text(at(value)); }

 private:
  static constexpr std::size_t kChecked = std::size_t{1} << 63;
  static constexpr std::size_t kDuplicates = std::size_t{1} << 62;
  static constexpr std::size_t kOffset = kDuplicates - 1;

  struct Cursor {
    const Word* container = nullptr;
    std::size_t index = 0;
    const Word* item = nullptr;
    std::size_t used = 0;  // when it was last used: the least recently used one is replaced
  };

  static const Word* at(Position p) { return static_cast<const Word*>(p); }

  template <class T>
  static T number(const Word* w) {
    T value;
    std::memcpy(&value, w + 1, sizeof value);
    return value;
  }

  std::string_view text(const Word* w) const noexcept {
    const std::uint8_t* s = strings_ + (*w & kPayload);
    std::uint32_t length;
    std::memcpy(&length, s, sizeof length);
    return {reinterpret_cast<const char*>(s + sizeof length), length};
  }

  // The container's closing word.
  const Word* closing(const Word* container) const noexcept {
    return tape_ + static_cast<std::uint32_t>(*container) - 1;
  }

  // The word after the value at `w`.
  const Word* after(const Word* w) const noexcept {
    switch (typeOf(w)) {
      case '{':
      case '[': return tape_ + static_cast<std::uint32_t>(*w);
      case 'l':
      case 'u':
      case 'd': return w + 2;
      default: return w + 1;
    }
  }

  // `step` is 2 for an object's entries (key, value), 1 for an array's elements.
  const Word* next(const Word* item, int step) const noexcept { return step == 2 ? after(item + 1) : after(item); }

  std::size_t count(const Word* container, int step) const noexcept {
    const auto n = static_cast<std::uint32_t>((*container >> 32) & kCountSaturated);
    if (n < kCountSaturated) return n;
    std::size_t counted = 0;
    for (const Word* i = container + 1, *end = closing(container); i < end; i = next(i, step)) ++counted;
    return counted;
  }

  // The index-th item, stepping on from the nearest cursor of the container. An outer
  // array read element by element keeps its cursor while each element's own are made.
  const Word* nth(const Word* container, std::size_t index, int step) const noexcept {
    Cursor* use = nullptr;
    for (auto& c : cursors_)
      if (c.container == container && c.index <= index && (use == nullptr || c.index > use->index)) use = &c;
    if (use == nullptr) {
      use = &cursors_[0];
      for (auto& c : cursors_)
        if (c.used < use->used) use = &c;
      *use = {container, 0, container + 1, 0};
    }
    use->used = ++clock_;
    while (use->index < index) {
      use->item = next(use->item, step);
      ++use->index;
    }
    return use->item;
  }

  Position foundAt(const Word* object, const Word* key, std::size_t& hint) const noexcept {
    hint = kChecked | static_cast<std::size_t>(after(key + 1) - object);
    return key + 1;
  }

  // Small objects compare fingerprints (the length and the first and last eight bytes)
  // pairwise, texts only where those agree; large ones sort their keys.
  bool hasDuplicateKeys(const Word* object, const Word* end) const {
    const auto n = static_cast<std::uint32_t>((*object >> 32) & kCountSaturated);
    if (n < 2) return false;
    constexpr std::size_t kSmall = 32;
    if (n <= kSmall) {
      // Left uninitialised: only the first i entries are ever read.
      std::uint64_t prints[kSmall];
      const Word* keys[kSmall];
      std::size_t i = 0;
      for (const Word* k = object + 1; k < end; k = after(k + 1), ++i) {
        const auto key = text(k);
        keys[i] = k;
        prints[i] = fingerprint(key);
        for (std::size_t j = 0; j < i; ++j)
          if (prints[j] == prints[i] && text(keys[j]) == key) return true;
      }
      return false;
    }
    std::vector<std::string_view> keys;
    keys.reserve(n);
    for (const Word* k = object + 1; k < end; k = after(k + 1)) keys.push_back(text(k));
    std::sort(keys.begin(), keys.end());
    return std::adjacent_find(keys.begin(), keys.end()) != keys.end();
  }

  // Eight bytes are always readable from a text's start: simdjson pads its string buffer,
  // and each text is followed by a NUL. Bytes beyond the text are masked off.
  static std::uint64_t fingerprint(std::string_view key) noexcept {
    std::uint64_t first;
    std::memcpy(&first, key.data(), 8);
    if (key.size() < 8) first &= (std::uint64_t{1} << (8 * key.size())) - 1;
    std::uint64_t last = 0;
    if (key.size() > 8) std::memcpy(&last, key.data() + key.size() - 8, 8);
    return (first ^ (last * 0x9E3779B97F4A7C15ull)) + key.size();
  }

  const Word* tape_ = nullptr;
  const std::uint8_t* strings_ = nullptr;
  mutable std::array<Cursor, 4> cursors_{};
  mutable std::size_t clock_ = 0;
};

}  // namespace

struct SimdjsonDocument::State {
  simdjson::dom::parser parser;
  SimdjsonBackend backend;
};

namespace {
// A parser's buffers, kept for the thread's next document.
thread_local std::unique_ptr<SimdjsonDocument::State> spare;
}  // namespace

SimdjsonDocument::SimdjsonDocument() : state_(spare ? std::move(spare) : std::make_unique<State>()) {}

SimdjsonDocument::~SimdjsonDocument() {
  if (!spare && state_->parser.capacity() <= kKeptCapacity) spare = std::move(state_);
}

static_assert(SimdjsonDocument::kPadding >= simdjson::SIMDJSON_PADDING);

namespace {

// simdjson reads a zero mantissa with any exponent as zero ("0e99999999999"); Boost.JSON
// refuses an exponent beyond its range as not JSON. Such a text is left to Boost.JSON:
// wanted only when the tape holds a zero real, and then an exponent of ten or more digits
// anywhere (inside a string too: a needless second reading is still a right one).
bool holdsZeroReal(const simdjson::dom::document& document) noexcept {
  const Word* tape = document.tape.get();
  const std::size_t end = static_cast<std::size_t>(tape[0] & kPayload);
  for (std::size_t i = 1; i < end; ++i) {
    const char type = typeOf(tape + i);
    if (type == 'd') {
      double value;
      std::memcpy(&value, tape + i + 1, sizeof value);
      if (value == 0.0) return true;
    }
    if (type == 'd' || type == 'l' || type == 'u') ++i;  // the number's own word
  }
  return false;
}

bool hasLongExponent(std::string_view text) noexcept {
  for (std::size_t at = text.find_first_of("eE"); at != std::string_view::npos; at = text.find_first_of("eE", at + 1)) {
    std::size_t digits = at + 1;
    if (digits < text.size() && (text[digits] == '+' || text[digits] == '-')) ++digits;
    std::size_t end = digits;
    while (end < text.size() && text[end] >= '0' && text[end] <= '9') ++end;
    if (end - digits >= 10) return true;
  }
  return false;
}

}  // namespace

bool SimdjsonDocument::parse(std::string_view text, bool padded) {
  auto& parser = state_->parser;
  if ((parser.capacity() < text.size() || parser.max_depth() != kMaxDepth) &&
      parser.allocate(std::max<std::size_t>(text.size(), 1), kMaxDepth) != simdjson::SUCCESS)
    return false;
  simdjson::dom::element root;
  if (parser.parse(text.data(), text.size(), !padded).get(root) != simdjson::SUCCESS) return false;
  if (holdsZeroReal(parser.doc) && hasLongExponent(text)) return false;
  state_->backend.reset(parser.doc);
  return true;
}

void SimdjsonDocument::releaseKeptBuffers() noexcept { spare.reset(); }

const DecoderBackend& SimdjsonDocument::backend() const noexcept { return state_->backend; }

DecoderBackend::Position SimdjsonDocument::root() const noexcept { return state_->backend.root(); }


}  // namespace telvor::json
