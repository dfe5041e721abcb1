#include "telvor/vocabulary/tls_security_profile.hpp"

namespace telvor {
namespace {
// Stored settings hold the code, and the code is the position: fromRawValue is a bounds test.
using Index = detail::EnumIndex<TLSSecurityProfile>;
static_assert(Index::contiguous && rawValue(Index::cases[0]) == 0, "TLS profile codes are their positions");
}  // namespace
}  // namespace telvor
