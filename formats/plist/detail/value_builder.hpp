// What both readers share: turning the containers they meet, in document order, into a
// PropertyListDocument, with the path of every value at hand for messages.
//
// A reader opens a container, adds scalars and keys to the innermost open one, and closes
// it. The builder refuses nesting beyond kMaxDepth at once; a document of the wrong shape
// (a root that is neither a dictionary nor an array of dictionaries) is read to its end
// all the same, so that damage anywhere in it is reported before its shape. Nothing
// recurses.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "telvor/coding/property_dictionary.hpp"
#include "telvor/plist/plist.hpp"

namespace telvor::plist::detail {

class ValueBuilder {
 public:
  // Each dictionary of the document (the root one, or each element of the root array)
  // goes to `take` as soon as it is complete.
  using Take = std::function<void(PropertyDictionary&&)>;
  // Told how many elements a root array holds, when a reader knows before reading them.
  using Expect = std::function<void(std::size_t)>;
  explicit ValueBuilder(Take take, Expect expect = {}) : take_(std::move(take)), expect_(std::move(expect)) {}

  enum class Container : std::uint8_t { array, dictionary };

  // What each kind of value is called in messages ("the root is a string, not ...").
  enum class Shape : std::uint8_t { array, dictionary, string, integer, real, boolean, date, data };
  static const char* describeShape(Shape shape) noexcept;

  // Notes what the next value is: a root that is not a container, or a root array's
  // element that is not a dictionary, makes take() refuse the document (unexpectedShape).
  void expect(Shape shape) {
    // Only the root and the root array's elements have a shape to keep.
    if (depth_ == 0 || inRootArray()) noteShape(shape);
  }

  // Opens a container where the next value goes; throws tooDeep beyond kMaxDepth.
  // `reserve` is how many elements or entries it will hold, when known.
  void open(Container container, std::size_t reserve = 0);
  // Closes the innermost container; it becomes the value where it stands.
  void close();

  // The key of the next entry of the innermost container, a dictionary.
  void key(std::string&& key) { frames_[depth_ - 1].key = std::move(key); }
  void key(std::string_view key) { frames_[depth_ - 1].key.assign(key); }
  // A scalar value where the next value goes.
  void value(PropertyValue&& value) {
    if (depth_ > 1 || (depth_ == 1 && !wasArray_)) place(std::move(value));
    else scalarOutside();
  }

  std::size_t depth() const noexcept { return depth_; }
  bool done() const noexcept { return done_; }
  // Once the root value is complete: whether the root was an array; throws
  // unexpectedShape as above.
  bool finish();

  // "$[2].Port": where the next value goes (or, with `ofKey`, the innermost dictionary).
  std::string path(bool ofKey = false) const;

 private:
  struct Frame {
    Container container = Container::array;
    std::int64_t count = 0;  // values placed so far
    std::string key;         // a dictionary's pending key
    PropertyOther::Array elements;
    PropertyDictionary dictionary;
    std::size_t lastSize = 0;  // of the previous dictionary at this depth: a size to reserve
  };

  void place(PropertyValue&& value);
  void noteShape(Shape shape);
  // A scalar at the root or in the root array: a fault of shape, already noted.
  void scalarOutside() noexcept;
  // True when the innermost frame is the root array, whose dictionaries go straight into
  // the document.
  bool inRootArray() const noexcept { return depth_ == 1 && wasArray_; }

  std::string shapeFault_;      // the first fault of shape, if any
  std::vector<Frame> frames_;  // frames_[0, depth_) are open; the rest keep their capacity
  std::size_t depth_ = 0;
  bool done_ = false;
  bool wasArray_ = false;
  Take take_;
  Expect expect_;
};

}  // namespace telvor::plist::detail
