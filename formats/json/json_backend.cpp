#include "telvor/json/json_backend.hpp"

#include <boost/json/serialize.hpp>

#include <limits>

#include "telvor/coding/text.hpp"

namespace telvor::json {
namespace {

const boost::json::value& at(DecoderBackend::Position p) { return *static_cast<const boost::json::value*>(p); }

constexpr auto kInt64Max = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());

}  // namespace

DecoderBackend::ValueKind JsonDecoderBackend::kind(Position value) const noexcept {
  const auto& v = at(value);
  switch (v.kind()) {
    case boost::json::kind::null: return ValueKind::null;
    case boost::json::kind::bool_: return ValueKind::boolean;
    case boost::json::kind::int64: return ValueKind::integer;
    case boost::json::kind::uint64:
      return v.get_uint64() <= kInt64Max ? ValueKind::integer : ValueKind::integerOutOfRange;
    case boost::json::kind::string: return ValueKind::text;
    case boost::json::kind::object: return ValueKind::keyed;
    case boost::json::kind::array: return ValueKind::unkeyed;
    case boost::json::kind::double_: return ValueKind::other;
  }
  return ValueKind::other;
}

std::string JsonDecoderBackend::describe(Position value) const {
  const auto& v = at(value);
  switch (v.kind()) {
    case boost::json::kind::null: return "null";
    case boost::json::kind::bool_: return "a boolean";
    case boost::json::kind::int64: return "the integer " + std::to_string(v.get_int64());
    case boost::json::kind::uint64: return "the integer " + std::to_string(v.get_uint64());
    case boost::json::kind::double_: return "the real number " + boost::json::serialize(v);
    case boost::json::kind::string: return "a string";
    case boost::json::kind::object: return "an object";
    case boost::json::kind::array: return "an array";
  }
  return "a value";
}

DecoderBackend::Position JsonDecoderBackend::entry(Position keyed, std::string_view key) const noexcept {
  return at(keyed).get_object().if_contains(key);
}

// Objects keep their entries in the order they were read, and coded forms read their keys
// in the order they wrote them: the entry after the last one found is usually the one.
// Boost.JSON keeps one entry per key, so a match at the hint is the entry.
DecoderBackend::Position JsonDecoderBackend::findEntry(Position keyed, std::string_view key,
                                                       std::size_t& hint) const noexcept {
  const auto& object = at(keyed).get_object();
  if (hint < object.size()) {
    const auto& candidate = object.begin()[hint];
    if (candidate.key() == key) {
      ++hint;
      return &candidate.value();
    }
  }
  const auto found = object.find(key);
  if (found == object.end()) return nullptr;
  hint = static_cast<std::size_t>(found - object.begin()) + 1;
  return &found->value();
}

std::size_t JsonDecoderBackend::entryCount(Position keyed) const noexcept { return at(keyed).get_object().size(); }

std::string_view JsonDecoderBackend::entryName(Position keyed, std::size_t index) const noexcept {
  return at(keyed).get_object().begin()[index].key();
}

std::size_t JsonDecoderBackend::elementCount(Position unkeyed) const noexcept { return at(unkeyed).get_array().size(); }

DecoderBackend::Position JsonDecoderBackend::element(Position unkeyed, std::size_t index) const noexcept {
  return &at(unkeyed).get_array()[index];
}

bool JsonDecoderBackend::boolValue(Position value) const noexcept { return at(value).get_bool(); }

std::int64_t JsonDecoderBackend::intValue(Position value) const noexcept {
  const auto& v = at(value);
  return v.is_int64() ? v.get_int64() : static_cast<std::int64_t>(v.get_uint64());
}

std::string_view JsonDecoderBackend::textValue(Position value) const noexcept { return at(value).get_string(); }

EncoderBackend::Slot JsonEncoderBackend::makeKeyed(Slot slot) {
  auto& v = *static_cast<boost::json::value*>(slot);
  if (!v.is_object()) v.emplace_object();
  return &v.get_object();
}

// Objects otherwise grow by half again from one entry, copying their entries each time.
void JsonEncoderBackend::expectEntries(Slot keyed, std::size_t count) {
  static_cast<boost::json::object*>(keyed)->reserve(count);
}

EncoderBackend::Slot JsonEncoderBackend::entry(Slot keyed, std::string_view key) {
  auto& object = *static_cast<boost::json::object*>(keyed);
  return &object.insert_or_assign(key, nullptr).first->value();
}

EncoderBackend::Slot JsonEncoderBackend::makeUnkeyed(Slot slot) {
  auto& v = *static_cast<boost::json::value*>(slot);
  if (!v.is_array()) v.emplace_array();
  return &v.get_array();
}

void JsonEncoderBackend::expectElements(Slot unkeyed, std::size_t count) {
  auto& array = *static_cast<boost::json::array*>(unkeyed);
  array.reserve(array.size() + count);
}

EncoderBackend::Slot JsonEncoderBackend::appendElement(Slot unkeyed) {
  return &static_cast<boost::json::array*>(unkeyed)->emplace_back(nullptr);
}

void JsonEncoderBackend::setBool(Slot slot, bool value) { *static_cast<boost::json::value*>(slot) = value; }

void JsonEncoderBackend::setInt(Slot slot, std::int64_t value) { *static_cast<boost::json::value*>(slot) = value; }

bool JsonEncoderBackend::canHoldText(std::string_view text) const noexcept { return isValidUtf8(text); }

void JsonEncoderBackend::setText(Slot slot, std::string_view text) {
  static_cast<boost::json::value*>(slot)->emplace_string().assign(text);
}

}  // namespace telvor::json
