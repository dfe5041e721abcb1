#include "telvor/vocabulary/supported_wado_transfer_syntax_type.hpp"

namespace telvor {
namespace {
// Codes rise with position, so the picker's order is also code order; a new case takes
// a fresh code above the last, since stored settings hold the code.
constexpr bool codesRise() {
  const auto& rows = EnumTraits<SupportedWadoTransferSyntaxType>::rows;
  for (std::size_t p = 1; p < rows.size(); ++p)
    if (rawValue(rows[p].value) <= rawValue(rows[p - 1].value)) return false;
  return true;
}
static_assert(codesRise(), "WADO retrieve syntax codes must rise in table order");
}  // namespace
}  // namespace telvor
