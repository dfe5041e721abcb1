// An in-memory format: a small document value and the backends that code it, so that
// the coded forms and the interface's rules are tested without any real format.
//
//   Value v = toValue(node);                        // encode
//   EXPECT_EQ(show(v), R"({"aetitle":"A",...})");    // JSON-like text, for expectations
//   auto back = fromValue<DicomNode>(keyed({{"port", 104}, {"x", null()}}));
//
// Keyed values keep their entries in writing order; a later entry under the same name
// replaces the earlier one when writing and wins when reading.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "telvor/coding/decoder.hpp"
#include "telvor/coding/encoder.hpp"

namespace telvor::testing_support {

struct Value;
struct Entry;
struct Null {
  friend bool operator==(Null, Null) = default;
};
struct Keyed {
  std::vector<Entry> entries;
  friend bool operator==(const Keyed&, const Keyed&);
};
struct Array {
  std::vector<Value> elements;
  friend bool operator==(const Array&, const Array&);
};
// A value of a kind the interface does not read (a real number, a date): described only.
struct Other {
  std::string description;
  bool integerBeyondInt64 = false;
  friend bool operator==(const Other&, const Other&) = default;
};

struct Value {
  std::variant<Null, bool, std::int64_t, std::string, Keyed, Array, Other> held;

  // Defined below, where Entry is complete.
  Value();
  Value(Null);
  Value(bool b);
  Value(int i);
  Value(std::int64_t i);
  Value(const char* text);
  Value(std::string text);
  Value(Keyed k);
  Value(Array a);
  Value(Other o);
  friend bool operator==(const Value&, const Value&) = default;
};

struct Entry {
  std::string name;
  Value value;
  friend bool operator==(const Entry&, const Entry&) = default;
};

inline Value::Value() = default;
inline Value::Value(Null) {}
inline Value::Value(bool b) : held(b) {}
inline Value::Value(int i) : held(std::int64_t{i}) {}
inline Value::Value(std::int64_t i) : held(i) {}
inline Value::Value(const char* text) : held(std::string(text)) {}
inline Value::Value(std::string text) : held(std::move(text)) {}
inline Value::Value(Keyed k) : held(std::move(k)) {}
inline Value::Value(Other o) : held(std::move(o)) {}
inline Value::Value(Array a) : held(std::move(a)) {}

inline bool operator==(const Keyed& a, const Keyed& b) { return a.entries == b.entries; }
inline bool operator==(const Array& a, const Array& b) { return a.elements == b.elements; }

inline Value null() { return Null{}; }
inline Value keyed(std::initializer_list<Entry> entries) { return Keyed{entries}; }
inline Value array(std::initializer_list<Value> elements) { return Array{elements}; }
inline Value other(std::string description) { return Other{std::move(description), false}; }
inline Value beyondInt64() { return Other{"the integer 9223372036854775808", true}; }

// `value` with the entry at `path` (names of nested keyed values) replaced or added.
Value with(Value value, std::initializer_list<std::string_view> path, Value replacement);
// `value` without the entry at `path`.
Value without(Value value, std::initializer_list<std::string_view> path);

// Compact JSON-like text: {"k":v,...}, [..], null, true, 12, "text", <description>.
std::string show(const Value& value);

class MemoryDecoderBackend final : public DecoderBackend {
 public:
  ValueKind kind(Position value) const noexcept override;
  std::string describe(Position value) const override;
  Position entry(Position keyed, std::string_view key) const noexcept override;
  std::size_t entryCount(Position keyed) const noexcept override;
  std::string_view entryName(Position keyed, std::size_t index) const noexcept override;
  std::size_t elementCount(Position unkeyed) const noexcept override;
  Position element(Position unkeyed, std::size_t index) const noexcept override;
  bool boolValue(Position value) const noexcept override;
  std::int64_t intValue(Position value) const noexcept override;
  std::string_view textValue(Position value) const noexcept override;
};

// Refuses text containing "\xFF", so that the interface's refusal of unwritable text
// can be tested here too.
class MemoryEncoderBackend final : public EncoderBackend {
 public:
  Slot makeKeyed(Slot slot) override;
  Slot entry(Slot keyed, std::string_view key) override;
  Slot makeUnkeyed(Slot slot) override;
  Slot appendElement(Slot unkeyed) override;
  void setBool(Slot slot, bool value) override;
  void setInt(Slot slot, std::int64_t value) override;
  bool canHoldText(std::string_view text) const noexcept override;
  void setText(Slot slot, std::string_view text) override;
};

// Writes `value` into `into`, which keeps what was written before an error.
template <Codable T>
void encodeInto(const T& value, Value& into) {
  MemoryEncoderBackend backend;
  Encoder encoder(backend, &into);
  telvor::encode(value, encoder);
}

template <Codable T>
Value toValue(const T& value) {
  Value out;
  encodeInto(value, out);
  return out;
}

template <Codable T>
T fromValue(const Value& value, CodingPathLink at = {}) {
  const MemoryDecoderBackend backend;
  return telvor::decode<T>(Decoder(backend, &value, at));
}

template <Codable T>
T roundTrip(const T& value) {
  return fromValue<T>(toValue(value));
}

}  // namespace telvor::testing_support
