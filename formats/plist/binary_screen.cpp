#include "detail/binary_screen.hpp"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "detail/binary_layout.hpp"
#include "detail/refuse.hpp"
#include "telvor/plist/plist.hpp"

namespace telvor::plist::detail {
namespace {

using Kind = PlistError::Kind;

// The object markers' high nibbles that this screen looks into.
constexpr unsigned kInteger = 0x1;
constexpr unsigned kData = 0x4;
constexpr unsigned kAsciiString = 0x5;
constexpr unsigned kUtf16String = 0x6;
constexpr unsigned kArray = 0xA;
constexpr unsigned kOrderedSet = 0xB;
constexpr unsigned kSet = 0xC;
constexpr unsigned kDictionary = 0xD;

constexpr std::uint64_t kExpandedBytesFloor = std::uint64_t{64} << 20;
constexpr std::uint64_t kExpandedBytesFactor = 16;

// What an object amounts to once libplist has copied every shared object into place.
struct Expansion {
  std::uint64_t values = 1;  // this object and everything below it
  std::uint64_t bytes = 1;   // the same, measured in the bytes of text and data (1 for others)
};

// An array, set or dictionary: where its references start and how many there are.
struct Container {
  std::size_t referencesAt = 0;
  std::uint64_t referenceCount = 0;  // a dictionary's keys, then its values
};

// One container on the walk's stack.
struct Frame {
  std::uint64_t object = 0;
  Container container;
  std::uint64_t nextReference = 0;
  Expansion expansion;
  std::size_t childHeight = 0;  // the tallest child's nesting (0 without container children)
};

class BinaryScreen {
 public:
  explicit BinaryScreen(std::string_view bytes)
      : bytes_(bytes),
        valueLimit_(bytes.size()),
        byteLimit_(std::max(kExpandedBytesFloor, kExpandedBytesFactor * bytes.size())) {}

  void run() {
    if (!bytes_.starts_with(kBinaryMagic)) {
      refuseInput(Kind::malformed, "unsupported binary property list version \"" +
                                       std::string(bytes_.substr(0, std::min<std::size_t>(bytes_.size(), 8))) +
                                       "\" (only \"bplist00\" is read)");
    }
    const auto trailer = readTrailer(bytes_);
    if (!trailer) refuseInput(Kind::malformed, "binary property list with a truncated or damaged trailer");
    trailer_ = *trailer;
    // Each object is examined once and its result kept by object number. The object
    // count is bounded by the offset table, which lies inside the input.
    state_.assign(trailer_.objectCount, State::unseen);
    height_.assign(trailer_.objectCount, 0);
    expansion_.assign(trailer_.objectCount, Expansion{});
    walk();
  }

 private:
  enum class State : std::uint8_t { unseen, open, done };

  // Depth-first from the top object, with an explicit stack of at most kMaxDepth frames.
  void walk() {
    std::vector<Frame> stack;
    // Pushes the container `object`, or examines and finishes a scalar: false then.
    auto enter = [&](std::uint64_t object) -> bool {
      const std::size_t at = offsetOf(object);
      const auto container = containerAt(object, at);
      if (!container) {
        expansion_[object] = scalarAt(object, at);
        state_[object] = State::done;
        return false;
      }
      if (stack.size() == kMaxDepth) tooDeep(object);
      state_[object] = State::open;
      stack.push_back(Frame{object, *container, 0, {}, 0});
      return true;
    };
    if (!enter(trailer_.topObject)) return;
    while (!stack.empty()) {
      Frame& frame = stack.back();
      if (frame.nextReference < frame.container.referenceCount) {
        const std::uint64_t child = referenceAt(frame, frame.nextReference++);
        switch (state_[child]) {
          case State::open:
            refuseInput(Kind::malformed, "a cycle of references through binary object " + std::to_string(child));
          case State::unseen:
            if (enter(child)) break;  // `frame` may now be stale; the loop takes the new top
            [[fallthrough]];
          case State::done:
            add(frame, expansion_[child], height_[child]);
            break;
        }
        continue;
      }
      const Frame finished = frame;
      stack.pop_back();
      const std::size_t height = finished.childHeight + 1;
      if (height + stack.size() > kMaxDepth) tooDeep(finished.object);
      state_[finished.object] = State::done;
      height_[finished.object] = static_cast<std::uint8_t>(height);
      expansion_[finished.object] = finished.expansion;
      if (!stack.empty()) add(stack.back(), finished.expansion, height);
    }
    const Expansion& all = expansion_[trailer_.topObject];
    if (all.values > valueLimit_ || all.bytes > byteLimit_) {
      refuseInput(Kind::tooLarge, "a binary property list of " + std::to_string(bytes_.size()) +
                                      " bytes whose shared objects expand to more than " +
                                      (all.values > valueLimit_ ? std::to_string(valueLimit_) + " values"
                                                                : std::to_string(byteLimit_) + " bytes"));
    }
  }

  // Counts a child into its container; the counts saturate just above their limits.
  void add(Frame& frame, const Expansion& child, std::size_t height) const noexcept {
    auto sum = [](std::uint64_t a, std::uint64_t b, std::uint64_t limit) { return std::min(a + b, limit + 1); };
    frame.expansion.values = sum(frame.expansion.values, child.values, valueLimit_);
    frame.expansion.bytes = sum(frame.expansion.bytes, child.bytes, byteLimit_);
    frame.childHeight = std::max(frame.childHeight, height);
  }

  [[noreturn]] void tooDeep(std::uint64_t object) const {
    refuseInput(Kind::tooDeep, "nested deeper than " + std::to_string(kMaxDepth) + " levels at binary object " +
                                   std::to_string(object));
  }

  [[noreturn]] void truncated(std::uint64_t object) const {
    refuseInput(Kind::malformed, "binary object " + std::to_string(object) + " is truncated");
  }

  std::size_t offsetOf(std::uint64_t object) const {
    const auto at = objectOffset(bytes_, trailer_, object);
    if (!at) refuseInput(Kind::malformed, "binary object " + std::to_string(object) + " lies outside the list");
    return *at;
  }

  std::uint64_t referenceAt(const Frame& frame, std::uint64_t i) const {
    const std::uint64_t object = readBigEndian(
        bytes_, frame.container.referencesAt + static_cast<std::size_t>(i) * trailer_.referenceSize,
        trailer_.referenceSize);
    if (object >= trailer_.objectCount) {
      refuseInput(Kind::malformed, "binary object " + std::to_string(frame.object) + " refers to object " +
                                       std::to_string(object) + " of " + std::to_string(trailer_.objectCount));
    }
    return object;
  }

  // Where the payload of the object at `at` starts, and its count: the marker's low
  // nibble, or for 0xF an integer object of 1, 2, 4 or 8 bytes that follows.
  std::pair<std::size_t, std::uint64_t> countAt(std::uint64_t object, std::size_t at) const {
    const std::size_t end = trailer_.offsetTableStart;
    const unsigned info = static_cast<unsigned char>(bytes_[at]) & 0xFu;
    const std::size_t p = at + 1;
    if (info != 0xF) return {p, info};
    if (end - p < 1) truncated(object);
    const auto countMarker = static_cast<unsigned char>(bytes_[p]);
    const std::size_t width = std::size_t{1} << (countMarker & 0xFu);
    if ((countMarker >> 4) != kInteger || width > 8 || end - p - 1 < width) truncated(object);
    return {p + 1 + width, readBigEndian(bytes_, p + 1, width)};
  }

  // The array, set or dictionary at `at`, or absent for any other object. Checks that its
  // references lie inside the object area.
  std::optional<Container> containerAt(std::uint64_t object, std::size_t at) const {
    const unsigned type = static_cast<unsigned char>(bytes_[at]) >> 4;
    if (type != kArray && type != kOrderedSet && type != kSet && type != kDictionary) return std::nullopt;
    const auto [p, count] = countAt(object, at);
    const std::uint64_t perEntry = type == kDictionary ? 2 : 1;
    const std::uint64_t room = (trailer_.offsetTableStart - p) / trailer_.referenceSize;
    if (count > room / perEntry) truncated(object);
    return Container{p, count * perEntry};
  }

  // Checks a scalar for what libplist gets wrong without noticing, and measures it:
  // - a 16-byte integer must fit 64 bits (libplist keeps the low half);
  // - text must hold no NUL character (libplist cuts an ASCII string short at one, and
  //   aborts on a dictionary key with one).
  Expansion scalarAt(std::uint64_t object, std::size_t at) const {
    const unsigned type = static_cast<unsigned char>(bytes_[at]) >> 4;
    const unsigned info = static_cast<unsigned char>(bytes_[at]) & 0xFu;
    const std::size_t end = trailer_.offsetTableStart;
    if (type == kInteger && info == 4) {
      if (end - at < 17) truncated(object);
      if (readBigEndian(bytes_, at + 1, 8) != 0) {
        refuseInput(Kind::malformed, "binary object " + std::to_string(object) + " is an integer beyond 64 bits");
      }
    }
    if (type != kData && type != kAsciiString && type != kUtf16String) return Expansion{};
    const auto [p, count] = countAt(object, at);
    const std::size_t unit = type == kUtf16String ? 2 : 1;
    if (count > (end - p) / unit) truncated(object);
    const std::size_t size = static_cast<std::size_t>(count) * unit;
    if (type != kData) {
      for (std::size_t i = 0; i < size; i += unit) {
        if (bytes_[p + i] == '\0' && bytes_[p + i + unit - 1] == '\0') {
          refuseInput(Kind::unsupportedValue,
                      "binary object " + std::to_string(object) + ", a string, contains a NUL character");
        }
      }
    }
    return Expansion{1, std::max<std::uint64_t>(size, 1)};
  }

  std::string_view bytes_;
  std::uint64_t valueLimit_;
  std::uint64_t byteLimit_;
  BinaryTrailer trailer_;
  std::vector<State> state_;
  std::vector<std::uint8_t> height_;
  std::vector<Expansion> expansion_;
};

}  // namespace

void screenBinary(std::string_view bytes) { BinaryScreen(bytes).run(); }

}  // namespace telvor::plist::detail
