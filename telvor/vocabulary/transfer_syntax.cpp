#include "telvor/vocabulary/transfer_syntax.hpp"

namespace telvor {
namespace {
// The table is the single source of the codes: position p holds code p - 1.
constexpr bool codesFollowPositions() {
  const auto& rows = EnumTraits<TransferSyntax>::rows;
  for (std::size_t p = 0; p < rows.size(); ++p)
    if (rawValue(rows[p].value) != static_cast<std::int64_t>(p) - 1) return false;
  return true;
}
static_assert(codesFollowPositions(), "transfer syntax codes must run -1, 0, 1, ... in table order");
}  // namespace
}  // namespace telvor
