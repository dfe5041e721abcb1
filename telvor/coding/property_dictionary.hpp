// The property dictionary: the loosely typed, text-keyed map through which a settings
// store hands a configuration record to the library and takes it back.
//
//   telvor::PropertyDictionary d;
//   d.setValue("AETitle", telvor::PropertyValue::text("ARCHIVE"));
//   d.setValue("transferSyntax", telvor::PropertyValue::numberObject(2));
//   d.readString("AETitle");        // "ARCHIVE"
//   d.readInt("transferSyntax");    // 2
//   d.readInt("AETitle");           // std::nullopt: a text is not an integer
//
// Reads are total: a missing key and a value of a kind the read does not accept both
// give absent, and the record that reads then applies its own fallback.
//
// | read       | accepts                                | absent for                          |
// |------------|----------------------------------------|-------------------------------------|
// | readString | text                                   | integer, boolean, number object, other |
// | readInt    | integer, number object                 | text (digits too), boolean, other   |
// | readBool   | boolean                                | text ("true", "1" too), integer, number object, other |
//
// Deliberately strict: the desktop platform's stores also let a number object 0 or 1 read
// as a boolean and a boolean read as 0 or 1. The library's own writers never produce
// such mixtures, and property lists keep booleans and integers apart, so a dictionary
// that crossed kinds was not written by a Telvor record; it gets the field's fallback.
//
// Keys are text compared byte for byte; letter case counts ("AETitle" is not "aetitle").
// Entry order means nothing; iteration is in key order so output is deterministic.
//
// The entries are one sorted array: a dictionary filled after reserve() costs one
// allocation for its table, plus one per key or text too long for the small-string buffer.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "telvor/telvor_export.hpp"

namespace telvor {

class PropertyDictionary;
class PropertyValue;

// A moment as a property list stores it: seconds since 2001-01-01 00:00:00 UTC.
struct PropertyDate {
  double secondsSinceReferenceDate = 0;
  friend bool operator==(const PropertyDate&, const PropertyDate&) = default;
};

// A property-list value that no reader of the library accepts, kept as it came so that
// an application finds it again unchanged: a real number, a date, bytes, an unsigned
// integer beyond Int64, a list, or a nested dictionary.
class TELVOR_API PropertyOther {
 public:
  using Data = std::vector<std::uint8_t>;
  using Array = std::vector<PropertyValue>;

  explicit PropertyOther(double real);
  explicit PropertyOther(PropertyDate date);
  explicit PropertyOther(Data bytes);
  explicit PropertyOther(std::uint64_t unsignedInteger);
  explicit PropertyOther(Array list);
  explicit PropertyOther(PropertyDictionary dictionary);

  PropertyOther(const PropertyOther& other);
  PropertyOther& operator=(const PropertyOther& other);
  PropertyOther(PropertyOther&&) noexcept;
  PropertyOther& operator=(PropertyOther&&) noexcept;
  ~PropertyOther();

  // Exactly one of these is present.
  const double* real() const noexcept;
  const PropertyDate* date() const noexcept;
  const Data* data() const noexcept;
  const std::uint64_t* unsignedInteger() const noexcept;
  const Array* array() const noexcept;
  const PropertyDictionary* dictionary() const noexcept;

  friend TELVOR_API bool operator==(const PropertyOther& a, const PropertyOther& b);

 private:
  // Nested dictionaries live behind a pointer (the type is recursive) and are copied deeply.
  using Content = std::variant<double, PropertyDate, Data, std::uint64_t, Array, std::unique_ptr<PropertyDictionary>>;
  Content content_;
};

// One value of a property dictionary, of exactly one kind.
class TELVOR_API PropertyValue {
 public:
  enum class Kind {
    text,          // a string
    integer,       // a signed 64-bit integer
    boolean,       // true or false
    numberObject,  // a signed 64-bit integer in the platform's boxed number, as the node
                   // record writes its enumeration codes
    other,         // anything else (see PropertyOther)
  };

  static PropertyValue text(std::string value);
  static PropertyValue integer(std::int64_t value) noexcept;
  static PropertyValue boolean(bool value) noexcept;
  static PropertyValue numberObject(std::int64_t value) noexcept;
  static PropertyValue other(PropertyOther value);

  Kind kind() const noexcept;
  // The content of each kind; null (or absent) for a value of another kind.
  const std::string* textValue() const noexcept;
  std::optional<std::int64_t> integerValue() const noexcept;  // integer only
  std::optional<bool> booleanValue() const noexcept;
  std::optional<std::int64_t> numberObjectValue() const noexcept;
  const PropertyOther* otherValue() const noexcept;

  // Same kind and same content; texts compare byte for byte.
  friend bool operator==(const PropertyValue&, const PropertyValue&) = default;

 private:
  struct Integer {
    std::int64_t value;
    friend bool operator==(const Integer&, const Integer&) = default;
  };
  struct NumberObject {
    std::int64_t value;
    friend bool operator==(const NumberObject&, const NumberObject&) = default;
  };
  using Content = std::variant<std::string, Integer, bool, NumberObject, PropertyOther>;
  // Builds the content where it stays: a reader makes hundreds of thousands of values.
  template <std::size_t I, class T>
  PropertyValue(std::in_place_index_t<I> kind, T&& content) : content_(kind, std::forward<T>(content)) {}
  Content content_;
};

class TELVOR_API PropertyDictionary {
 public:
  // An entry: its key and value. Iteration gives entries read-only, in key order.
  using Entry = std::pair<std::string, PropertyValue>;
  using const_iterator = std::vector<Entry>::const_iterator;

  PropertyDictionary() = default;
  // Of several entries under one key, the first is kept.
  PropertyDictionary(std::initializer_list<Entry> entries);

  // True when there is an entry under the key, whatever its kind (other included).
  bool contains(std::string_view key) const noexcept;
  // The typed reads of the table above. A text is returned as a view of the entry; it
  // stays valid until the dictionary is changed or destroyed (so a temporary has none).
  std::optional<std::string_view> readString(std::string_view key) const& noexcept;
  std::optional<std::string_view> readString(std::string_view key) const&& = delete;
  std::optional<std::int64_t> readInt(std::string_view key) const noexcept;
  std::optional<bool> readBool(std::string_view key) const noexcept;

  // Inserts the entry, or replaces the value of the entry under the same key. Entries set
  // in key order are appended without a search.
  void setValue(std::string key, PropertyValue value);
  // As setValue, taking the key and the value over (they are left valid but unspecified):
  // a reader filling dictionaries in key order moves each only once.
  void insertOrAssign(std::string&& key, PropertyValue&& value);

  // Makes room for `count` entries in all, so that setting that many allocates no more.
  void reserve(std::size_t count) { entries_.reserve(count); }
  // Removes every entry and keeps the room they took, for a reader that fills one
  // dictionary after another.
  void clear() noexcept { entries_.clear(); }

  // Removes the entry under the key; false when there was none.
  bool removeValue(std::string_view key) noexcept;

  // The entry's value, or null.
  const PropertyValue* find(std::string_view key) const noexcept;
  std::size_t size() const noexcept { return entries_.size(); }
  bool empty() const noexcept { return entries_.empty(); }
  const_iterator begin() const noexcept { return entries_.begin(); }
  const_iterator end() const noexcept { return entries_.end(); }

  // Same keys with equal values.
  friend bool operator==(const PropertyDictionary&, const PropertyDictionary&) = default;

 private:
  std::vector<Entry> entries_;  // sorted by key, byte for byte; keys unique
};

}  // namespace telvor
