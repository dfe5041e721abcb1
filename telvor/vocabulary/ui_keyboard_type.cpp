#include "telvor/vocabulary/ui_keyboard_type.hpp"

namespace telvor {
namespace {
// The code is the position: fromRawValue is a bounds test.
using Index = detail::EnumIndex<UIKeyboardType>;
static_assert(Index::contiguous && rawValue(Index::cases[0]) == 0, "keyboard kind codes are their positions");
}  // namespace
}  // namespace telvor
