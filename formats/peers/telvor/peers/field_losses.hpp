// The loss report of any described record (telvor/coding/record_fields.hpp): one PeerLoss
// for every field whose value a written entry does not give back. reportDifferences is
// this for nodes; a record with a field table gets it without writing a line per field.
//
//   std::vector<telvor::peers::PeerLoss> losses;
//   telvor::peers::reportFieldLosses(given, readBack, 3, "archive", losses);
//   // node 3 "archive": retrieveMode: CGET -> reads back as CMOVE
//
// Fields are reported in table order, nested records' fields under "outer.inner";
// identity fields never (no format carries them). Texts compare byte for byte, secrets
// are named and never shown, enumerations show their titles.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "telvor/coding/coded_enum.hpp"
#include "telvor/coding/record_fields.hpp"
#include "telvor/peers/peer_list.hpp"
#include "telvor/platform/uuid.hpp"
#include "telvor/vocabulary/tls_security_profile.hpp"

namespace telvor::peers {
namespace detail {

inline std::string shownValue(const std::string& text) { return '"' + text + '"'; }
inline std::string shownValue(bool flag) { return flag ? "true" : "false"; }
inline std::string shownValue(std::int64_t number) { return std::to_string(number); }
inline std::string shownValue(const UUID& id) { return id.uuidString(); }
inline std::string shownValue(TLSSecurityProfile profile) { return "profile " + std::to_string(rawValue(profile)); }
template <CodedEnum E>
std::string shownValue(E value) {
  if constexpr (EnumWithTitle<E>) return std::string(title(value));
  else return "code " + std::to_string(rawValue(value));
}
template <class T>
std::string shownValue(const std::optional<T>& value) {
  return value ? shownValue(*value) : "absent";
}

template <class T>
bool isSet(const T&) noexcept {
  return true;
}
template <class T>
bool isSet(const std::optional<T>& value) noexcept {
  return value.has_value();
}

}  // namespace detail

// Appends to `losses` one entry, at the node `position` labelled `label`, for every field
// of `given` whose value differs in `carried`, the record the written entry reads back as.
template <DescribedRecord R>
void reportFieldLosses(const R& given, const R& carried, std::size_t position, const std::string& label,
                       std::vector<PeerLoss>& losses) {
  forEachDifference(given, carried, [&](std::string_view path, const auto& f, const auto& a, const auto& b) {
    using T = std::remove_cvref_t<decltype(a)>;
    PeerLoss loss{position, label, std::string(path), {}, {}};
    if constexpr (holdsRecord<T>) {
      // A nested record only one side has.
      loss.lost = a ? "present" : "absent";
      loss.chosen = b ? "reads back as the default " + std::string(f.label) : "reads back as absent";
    } else if (f.role == FieldRole::secret) {
      loss.lost = detail::isSet(a) ? "(set, not shown)" : "absent";
      loss.chosen = detail::isSet(b) ? "reads back as another value (not shown)" : "not written";
    } else {
      loss.lost = detail::shownValue(a);
      loss.chosen = "reads back as " + detail::shownValue(b);
    }
    losses.push_back(std::move(loss));
  });
}

}  // namespace telvor::peers
