#include "support/memory_format.hpp"

#include <stdexcept>

namespace telvor::testing_support {
namespace {

const Value& at(DecoderBackend::Position p) { return *static_cast<const Value*>(p); }
Value& at(EncoderBackend::Slot p) { return *static_cast<Value*>(p); }

Value* find(Keyed& keyed, std::string_view name) {
  for (auto& e : keyed.entries)
    if (e.name == name) return &e.value;
  return nullptr;
}

Keyed& nested(Value& value, std::initializer_list<std::string_view> path) {
  Value* v = &value;
  for (auto it = path.begin(); it + 1 != path.end(); ++it) {
    v = find(std::get<Keyed>(v->held), *it);
    if (v == nullptr) throw std::logic_error("no such entry: " + std::string(*it));
  }
  return std::get<Keyed>(v->held);
}

}  // namespace

Value with(Value value, std::initializer_list<std::string_view> path, Value replacement) {
  Keyed& k = nested(value, path);
  if (Value* old = find(k, *(path.end() - 1))) *old = std::move(replacement);
  else k.entries.push_back({std::string(*(path.end() - 1)), std::move(replacement)});
  return value;
}

Value without(Value value, std::initializer_list<std::string_view> path) {
  Keyed& k = nested(value, path);
  std::erase_if(k.entries, [&](const Entry& e) { return e.name == *(path.end() - 1); });
  return value;
}

std::string show(const Value& value) {
  struct Visit {
    std::string operator()(Null) const { return "null"; }
    std::string operator()(bool b) const { return b ? "true" : "false"; }
    std::string operator()(std::int64_t i) const { return std::to_string(i); }
    std::string operator()(const std::string& s) const { return '"' + s + '"'; }
    std::string operator()(const Keyed& k) const {
      std::string out = "{";
      for (const auto& e : k.entries) out += (out.size() > 1 ? "," : "") + ('"' + e.name + "\":") + show(e.value);
      return out + "}";
    }
    std::string operator()(const Array& a) const {
      std::string out = "[";
      for (const auto& e : a.elements) out += (out.size() > 1 ? "," : "") + show(e);
      return out + "]";
    }
    std::string operator()(const Other& o) const { return "<" + o.description + ">"; }
  };
  return std::visit(Visit{}, value.held);
}

DecoderBackend::ValueKind MemoryDecoderBackend::kind(Position value) const noexcept {
  switch (at(value).held.index()) {
    case 0: return ValueKind::null;
    case 1: return ValueKind::boolean;
    case 2: return ValueKind::integer;
    case 3: return ValueKind::text;
    case 4: return ValueKind::keyed;
    case 5: return ValueKind::unkeyed;
    default:
      return std::get<Other>(at(value).held).integerBeyondInt64 ? ValueKind::integerOutOfRange : ValueKind::other;
  }
}

std::string MemoryDecoderBackend::describe(Position value) const {
  static constexpr const char* kNames[] = {"null", "a boolean", "an integer", "a text", "a keyed value", "an array"};
  const auto& v = at(value);
  if (const auto* o = std::get_if<Other>(&v.held)) return o->description;
  return kNames[v.held.index()];
}

// The last entry under the name: what a later writer meant.
DecoderBackend::Position MemoryDecoderBackend::entry(Position keyed, std::string_view key) const noexcept {
  const auto& entries = std::get<Keyed>(at(keyed).held).entries;
  for (auto it = entries.rbegin(); it != entries.rend(); ++it)
    if (it->name == key) return &it->value;
  return nullptr;
}

std::size_t MemoryDecoderBackend::entryCount(Position keyed) const noexcept {
  return std::get<Keyed>(at(keyed).held).entries.size();
}

std::string_view MemoryDecoderBackend::entryName(Position keyed, std::size_t index) const noexcept {
  return std::get<Keyed>(at(keyed).held).entries[index].name;
}

std::size_t MemoryDecoderBackend::elementCount(Position unkeyed) const noexcept {
  return std::get<Array>(at(unkeyed).held).elements.size();
}

DecoderBackend::Position MemoryDecoderBackend::element(Position unkeyed, std::size_t index) const noexcept {
  return &std::get<Array>(at(unkeyed).held).elements[index];
}

bool MemoryDecoderBackend::boolValue(Position value) const noexcept { return std::get<bool>(at(value).held); }

std::int64_t MemoryDecoderBackend::intValue(Position value) const noexcept {
  return std::get<std::int64_t>(at(value).held);
}

std::string_view MemoryDecoderBackend::textValue(Position value) const noexcept {
  return std::get<std::string>(at(value).held);
}

EncoderBackend::Slot MemoryEncoderBackend::makeKeyed(Slot slot) {
  auto& v = at(slot);
  if (!std::holds_alternative<Keyed>(v.held)) v.held = Keyed{};
  return &v;
}

EncoderBackend::Slot MemoryEncoderBackend::entry(Slot keyed, std::string_view key) {
  auto& k = std::get<Keyed>(at(keyed).held);
  if (Value* old = find(k, key)) {
    *old = Value{};
    return old;
  }
  k.entries.push_back({std::string(key), Value{}});
  return &k.entries.back().value;
}

EncoderBackend::Slot MemoryEncoderBackend::makeUnkeyed(Slot slot) {
  auto& v = at(slot);
  if (!std::holds_alternative<Array>(v.held)) v.held = Array{};
  return &v;
}

EncoderBackend::Slot MemoryEncoderBackend::appendElement(Slot unkeyed) {
  return &std::get<Array>(at(unkeyed).held).elements.emplace_back();
}

void MemoryEncoderBackend::setBool(Slot slot, bool value) { at(slot).held = value; }
void MemoryEncoderBackend::setInt(Slot slot, std::int64_t value) { at(slot).held = value; }

bool MemoryEncoderBackend::canHoldText(std::string_view text) const noexcept {
  return text.find('\xFF') == std::string_view::npos;
}

void MemoryEncoderBackend::setText(Slot slot, std::string_view text) { at(slot).held = std::string(text); }

}  // namespace telvor::testing_support
