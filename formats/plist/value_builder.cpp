#include "detail/value_builder.hpp"

#include <algorithm>

#include "detail/refuse.hpp"
#include "telvor/coding/coding_path.hpp"

namespace telvor::plist::detail {

using Kind = PlistError::Kind;

const char* ValueBuilder::describeShape(Shape shape) noexcept {
  switch (shape) {
    case Shape::array: return "an array";
    case Shape::dictionary: return "a dictionary";
    case Shape::string: return "a string";
    case Shape::integer: return "an integer";
    case Shape::real: return "a real number";
    case Shape::boolean: return "a boolean";
    case Shape::date: return "a date";
    case Shape::data: return "data";
  }
  return "a value";
}

void ValueBuilder::noteShape(Shape shape) {
  if (!shapeFault_.empty()) return;
  if (depth_ == 0) {
    if (shape != Shape::array && shape != Shape::dictionary) {
      shapeFault_ =
          std::string("the root is ") + describeShape(shape) + ", not a dictionary or an array of dictionaries";
    }
  } else if (inRootArray() && shape != Shape::dictionary) {
    shapeFault_ = "the root array's element at index " + std::to_string(frames_[0].count) + " is " +
                  describeShape(shape) + ", not a dictionary";
  }
}

bool ValueBuilder::finish() {
  if (!shapeFault_.empty()) refuseInput(Kind::unexpectedShape, shapeFault_);
  return wasArray_;
}

void ValueBuilder::open(Container container, std::size_t reserve) {
  if (depth_ == 0) {
    wasArray_ = container == Container::array;
    if (wasArray_ && reserve != 0 && expect_) expect_(reserve);
  }
  if (depth_ == kMaxDepth) {
    refuseInput(Kind::tooDeep, "nested deeper than " + std::to_string(kMaxDepth) + " levels at " + path());
  }
  if (depth_ == frames_.size()) frames_.emplace_back();
  Frame& frame = frames_[depth_++];
  frame.container = container;
  frame.count = 0;
  // A reservation bounded by what a reader could place keeps a lying count harmless.
  reserve = std::min<std::size_t>(reserve, 4096);
  // Without a count (XML), dictionaries at one depth are mostly alike: the previous
  // one's size saves the growing.
  if (container == Container::dictionary) {
    frame.dictionary.reserve(reserve != 0 ? reserve : frame.lastSize);
  } else if (depth_ > 1) {
    frame.elements.reserve(reserve);
  }
}

void ValueBuilder::close() {
  Frame& frame = frames_[--depth_];
  if (frame.container == Container::dictionary) frame.lastSize = frame.dictionary.size();
  if (depth_ == 0 || inRootArray()) {
    // An array or a scalar in the root array is a fault of shape, already noted.
    if (frame.container == Container::dictionary && shapeFault_.empty()) take_(std::move(frame.dictionary));
    // A taker that only read the dictionary leaves its room to the next one.
    frame.dictionary.clear();
    frame.elements.clear();
    if (depth_ == 0) done_ = true;
    else ++frames_[0].count;
    return;
  }
  if (frame.container == Container::dictionary) {
    place(PropertyValue::other(PropertyOther(std::move(frame.dictionary))));
    frame.dictionary = {};
  } else {
    place(PropertyValue::other(PropertyOther(std::move(frame.elements))));
    frame.elements = {};
  }
}

void ValueBuilder::scalarOutside() noexcept {
  if (depth_ == 0) done_ = true;
  else ++frames_[0].count;
}

void ValueBuilder::place(PropertyValue&& value) {
  Frame& parent = frames_[depth_ - 1];
  ++parent.count;
  if (parent.container == Container::dictionary) {
    parent.dictionary.insertOrAssign(std::move(parent.key), std::move(value));
    parent.key.clear();
  } else {
    parent.elements.push_back(std::move(value));
  }
}

std::string ValueBuilder::path(bool ofKey) const {
  CodingPath path;
  const std::size_t steps = ofKey ? depth_ - 1 : depth_;
  for (std::size_t i = 0; i < steps; ++i) {
    const Frame& frame = frames_[i];
    path.push_back(frame.container == Container::dictionary ? CodingPathComponent::key(frame.key)
                                                            : CodingPathComponent::index(frame.count));
  }
  return describe(path);
}

}  // namespace telvor::plist::detail
