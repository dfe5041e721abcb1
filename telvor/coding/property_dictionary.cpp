#include "telvor/coding/property_dictionary.hpp"

#include <algorithm>

#include "telvor/coding/detail/value_reads.hpp"

namespace telvor {

// --- PropertyOther ---------------------------------------------------------------------

PropertyOther::PropertyOther(double real) : content_(real) {}
PropertyOther::PropertyOther(PropertyDate date) : content_(date) {}
PropertyOther::PropertyOther(Data bytes) : content_(std::move(bytes)) {}
PropertyOther::PropertyOther(std::uint64_t unsignedInteger) : content_(unsignedInteger) {}
PropertyOther::PropertyOther(Array list) : content_(std::move(list)) {}
PropertyOther::PropertyOther(PropertyDictionary dictionary)
    : content_(std::make_unique<PropertyDictionary>(std::move(dictionary))) {}

namespace {
template <class Content>
Content deepCopy(const Content& content) {
  return std::visit(
      [](const auto& v) -> Content {
        using V = std::decay_t<decltype(v)>;
        if constexpr (std::is_same_v<V, std::unique_ptr<PropertyDictionary>>) {
          return std::make_unique<PropertyDictionary>(*v);
        } else {
          return v;
        }
      },
      content);
}
}  // namespace

PropertyOther::PropertyOther(const PropertyOther& other) : content_(deepCopy(other.content_)) {}
PropertyOther& PropertyOther::operator=(const PropertyOther& other) {
  if (this != &other) content_ = deepCopy(other.content_);
  return *this;
}
PropertyOther::PropertyOther(PropertyOther&&) noexcept = default;
PropertyOther& PropertyOther::operator=(PropertyOther&&) noexcept = default;
PropertyOther::~PropertyOther() = default;

const double* PropertyOther::real() const noexcept { return std::get_if<double>(&content_); }
const PropertyDate* PropertyOther::date() const noexcept { return std::get_if<PropertyDate>(&content_); }
const PropertyOther::Data* PropertyOther::data() const noexcept { return std::get_if<Data>(&content_); }
const std::uint64_t* PropertyOther::unsignedInteger() const noexcept {
  return std::get_if<std::uint64_t>(&content_);
}
const PropertyOther::Array* PropertyOther::array() const noexcept { return std::get_if<Array>(&content_); }
const PropertyDictionary* PropertyOther::dictionary() const noexcept {
  const auto* p = std::get_if<std::unique_ptr<PropertyDictionary>>(&content_);
  return p ? p->get() : nullptr;
}

bool operator==(const PropertyOther& a, const PropertyOther& b) {
  if (a.content_.index() != b.content_.index()) return false;
  if (const auto* da = a.dictionary()) return *da == *b.dictionary();
  return a.content_ == b.content_;
}

// --- PropertyValue ---------------------------------------------------------------------

PropertyValue PropertyValue::text(std::string value) { return PropertyValue(std::in_place_index<0>, std::move(value)); }
PropertyValue PropertyValue::integer(std::int64_t value) noexcept {
  return PropertyValue(std::in_place_index<1>, Integer{value});
}
PropertyValue PropertyValue::boolean(bool value) noexcept { return PropertyValue(std::in_place_index<2>, value); }
PropertyValue PropertyValue::numberObject(std::int64_t value) noexcept {
  return PropertyValue(std::in_place_index<3>, NumberObject{value});
}
PropertyValue PropertyValue::other(PropertyOther value) {
  return PropertyValue(std::in_place_index<4>, std::move(value));
}

PropertyValue::Kind PropertyValue::kind() const noexcept { return static_cast<Kind>(content_.index()); }

const std::string* PropertyValue::textValue() const noexcept { return std::get_if<std::string>(&content_); }

std::optional<std::int64_t> PropertyValue::integerValue() const noexcept {
  if (const auto* v = std::get_if<Integer>(&content_)) return v->value;
  return std::nullopt;
}

std::optional<bool> PropertyValue::booleanValue() const noexcept {
  if (const auto* v = std::get_if<bool>(&content_)) return *v;
  return std::nullopt;
}

std::optional<std::int64_t> PropertyValue::numberObjectValue() const noexcept {
  if (const auto* v = std::get_if<NumberObject>(&content_)) return v->value;
  return std::nullopt;
}

const PropertyOther* PropertyValue::otherValue() const noexcept { return std::get_if<PropertyOther>(&content_); }

// --- PropertyDictionary ----------------------------------------------------------------

namespace {
// Byte order, as std::string compares (its char_traits compare as unsigned char).
bool keyBefore(const PropertyDictionary::Entry& entry, std::string_view key) noexcept {
  return std::string_view(entry.first) < key;
}
}  // namespace

PropertyDictionary::PropertyDictionary(std::initializer_list<Entry> entries) : entries_(entries) {
  std::stable_sort(entries_.begin(), entries_.end(),
                   [](const Entry& a, const Entry& b) { return a.first < b.first; });
  const auto last = std::unique(entries_.begin(), entries_.end(),
                                [](const Entry& a, const Entry& b) { return a.first == b.first; });
  entries_.erase(last, entries_.end());
}

const PropertyValue* PropertyDictionary::find(std::string_view key) const noexcept {
  // A record's few dozen keys are found faster by their lengths, which mostly differ,
  // than by comparing texts along a binary search.
  constexpr std::size_t kScanned = 32;
  if (entries_.size() <= kScanned) {
    for (const auto& entry : entries_)
      if (entry.first.size() == key.size() && std::string_view(entry.first) == key) return &entry.second;
    return nullptr;
  }
  const auto it = std::lower_bound(entries_.begin(), entries_.end(), key, keyBefore);
  return it == entries_.end() || it->first != key ? nullptr : &it->second;
}

bool PropertyDictionary::contains(std::string_view key) const noexcept { return find(key) != nullptr; }

std::optional<std::string_view> PropertyDictionary::readString(std::string_view key) const& noexcept {
  return detail::readString(find(key));
}

std::optional<std::int64_t> PropertyDictionary::readInt(std::string_view key) const noexcept {
  return detail::readInt(find(key));
}

std::optional<bool> PropertyDictionary::readBool(std::string_view key) const noexcept {
  return detail::readBool(find(key));
}

void PropertyDictionary::setValue(std::string key, PropertyValue value) {
  insertOrAssign(std::move(key), std::move(value));
}

namespace {
// Byte order, deciding most pairs of keys by their first bytes without a call.
bool keyBelow(std::string_view a, std::string_view b) noexcept {
  if (!a.empty() && !b.empty() && a.front() != b.front())
    return static_cast<unsigned char>(a.front()) < static_cast<unsigned char>(b.front());
  return a < b;
}
}  // namespace

void PropertyDictionary::insertOrAssign(std::string&& key, PropertyValue&& value) {
  if (entries_.empty() || keyBelow(entries_.back().first, key)) {
    entries_.emplace_back(std::move(key), std::move(value));
    return;
  }
  const auto it = std::lower_bound(entries_.begin(), entries_.end(), std::string_view(key), keyBefore);
  if (it != entries_.end() && it->first == key) {
    it->second = std::move(value);
  } else {
    entries_.emplace(it, std::move(key), std::move(value));
  }
}

bool PropertyDictionary::removeValue(std::string_view key) noexcept {
  const auto it = std::lower_bound(entries_.begin(), entries_.end(), key, keyBefore);
  if (it == entries_.end() || it->first != key) return false;
  entries_.erase(it);
  return true;
}

}  // namespace telvor
