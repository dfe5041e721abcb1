// Internal: equality of optional texts as records compare them.
#pragma once

#include <optional>
#include <string>

#include "telvor/coding/text.hpp"

namespace telvor::detail {

// Both absent, or both present and canonically equivalent; absent never equals the
// empty text.
inline bool optionalTextEquals(const std::optional<std::string>& a, const std::optional<std::string>& b) noexcept {
  if (a.has_value() != b.has_value()) return false;
  return !a || textEquals(*a, *b);
}

}  // namespace telvor::detail
