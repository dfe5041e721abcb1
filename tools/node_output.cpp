#include "node_output.hpp"

#include <algorithm>
#include <optional>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "case_names.hpp"
#include "support/terminal_text.hpp"
#include "telvor/json/json.hpp"

namespace telvor::tool {
namespace {

// Catalogue text as a terminal may show it.
std::string orNone(const std::optional<std::string>& text) { return text ? escapeForTerminal(*text) : "(absent)"; }

std::string yesNo(bool value) { return value ? "yes" : "no"; }

std::string shownValue(const std::optional<std::string>& text, FieldRole role) {
  if (role == FieldRole::secret) return !text ? "(absent)" : text->empty() ? "(empty)" : "(set)";
  if (role == FieldRole::url && text) return escapeForTerminal(maskUrlPassword(*text));
  return orNone(text);
}
std::string shownValue(bool value, FieldRole) { return yesNo(value); }
std::string shownValue(const std::optional<bool>& value, FieldRole) { return value ? yesNo(*value) : "unset"; }
std::string shownValue(const std::optional<std::int64_t>& value, FieldRole) {
  return value ? std::to_string(*value) : "(absent)";
}
// A vocabulary a user may type by its case name shows that name and the code beside its title.
template <CodedEnum E>
std::string shownValue(E value, FieldRole) {
  if constexpr (requires { caseName(value); })
    return std::string(title(value)) + " (" + std::string(caseName(value)) + ", " + std::to_string(rawValue(value)) +
           ")";
  else if constexpr (EnumWithTitle<E>) return std::string(title(value));
  else return std::to_string(rawValue(value));
}

using Rows = std::vector<std::pair<std::string_view, std::string>>;

// One row per field of `record`, nested records' fields in their place; a record that is
// absent shows why on its first row and "-" on the others.
template <DescribedRecord R>
void addRows(const R* record, std::string_view absent, bool withIdentifier, Rows& rows) {
  forEachField<R>([&](const auto& f) {
    using T = typename std::remove_cvref_t<decltype(f)>::value_type;
    if constexpr (holdsRecord<T>) {
      using N = NestedRecordOf<T>;
      if constexpr (std::is_same_v<T, N>) {
        addRows<N>(record ? &f.of(*record) : nullptr, absent, withIdentifier, rows);
      } else {
        const std::string none = "(no " + std::string(f.label) + ")";
        addRows<N>(record && f.of(*record) ? &*f.of(*record) : nullptr, record ? none : absent, withIdentifier, rows);
      }
    } else if (!record) {
      rows.emplace_back(f.label, std::exchange(absent, "-"));
    } else if constexpr (std::is_same_v<T, std::optional<UUID>>) {
      const auto& id = f.of(*record);
      rows.emplace_back(f.label, !withIdentifier ? "(not stored in property lists)"
                                 : id          ? id->uuidString()
                                               : "(absent)");
    } else {
      rows.emplace_back(f.label, shownValue(f.of(*record), f.role));
    }
  });
}

// `record` with its secrets removed and the passwords in its URLs masked, nested records too.
template <DescribedRecord R>
void hideSecrets(R& record) {
  forEachField<R>([&](const auto& f) {
    using T = typename std::remove_cvref_t<decltype(f)>::value_type;
    auto& value = f.of(record);
    if constexpr (holdsRecord<T>) {
      if constexpr (std::is_same_v<T, NestedRecordOf<T>>) hideSecrets(value);
      else if (value) hideSecrets(*value);
    } else if constexpr (std::is_same_v<T, std::optional<std::string>>) {
      if (f.role == FieldRole::secret) value.reset();
      if (f.role == FieldRole::url && value) value = maskUrlPassword(*value);
    }
  });
}

}  // namespace

std::string_view passwordState(const DicomNode& node) noexcept {
  if (!node.wadoSettings.password) return "absent";
  return node.wadoSettings.password->empty() ? "empty" : "set";
}

boost::json::object nodeEntry(const DicomNode& node, std::size_t index, bool withIdentifier) {
  DicomNode shown = node;
  hideSecrets(shown);
  if (!withIdentifier) shown.uniqueId.reset();
  boost::json::object entry;
  entry["index"] = index + 1;
  entry["node"] = json::toDocument(shown);
  entry["wadoPassword"] = passwordState(node);
  return entry;
}

std::string formatNodeFields(const DicomNode& n, std::size_t index, bool withIdentifier) {
  Rows rows{{"#", std::to_string(index + 1)}};
  addRows(&n, "", withIdentifier, rows);
  std::size_t width = 0;
  for (const auto& row : rows) width = std::max(width, row.first.size());
  std::string out;
  for (const auto& [label, value] : rows) {
    out += label;
    out += ':';
    out.append(width - label.size() + 2, ' ');
    out += value;
    out += '\n';
  }
  return out;
}

}  // namespace telvor::tool
