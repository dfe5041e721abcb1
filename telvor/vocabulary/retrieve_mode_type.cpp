#include "telvor/vocabulary/retrieve_mode_type.hpp"

namespace telvor {
namespace {
// Stored nodes hold the code, and the code is the position: fromRawValue is a bounds test.
using Index = detail::EnumIndex<RetrieveModeType>;
static_assert(Index::contiguous && rawValue(Index::cases[0]) == 0, "retrieve mode codes are their positions");
}  // namespace
}  // namespace telvor
