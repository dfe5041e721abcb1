#include "telvor/vocabulary/transfer_syntax.hpp"

namespace telvor {
namespace {

constexpr auto& kRows = EnumTraits<TransferSyntax>::rows;

// The table is the single source of the codes: position p holds code p - 1.
constexpr bool codesFollowPositions() {
  for (std::size_t p = 0; p < kRows.size(); ++p)
    if (rawValue(kRows[p].value) != static_cast<std::int64_t>(p) - 1) return false;
  return true;
}
static_assert(codesFollowPositions(), "transfer syntax codes must run -1, 0, 1, ... in table order");

// A DICOM UID: at most 64 characters, dot-separated decimal components without leading
// zeros (a lone 0 is allowed).
constexpr bool isWellFormedUid(std::string_view uid) {
  if (uid.empty() || uid.size() > 64) return false;
  std::size_t componentStart = 0;
  for (std::size_t i = 0; i <= uid.size(); ++i) {
    if (i == uid.size() || uid[i] == '.') {
      const std::size_t length = i - componentStart;
      if (length == 0 || (length > 1 && uid[componentStart] == '0')) return false;
      componentStart = i + 1;
    } else if (uid[i] < '0' || uid[i] > '9') {
      return false;
    }
  }
  return true;
}

// Every UID is well formed and names one case only, so the reverse look-up is exact; only
// the two syntaxes DICOM never registered go without.
constexpr bool uidsAreWellFormedAndDistinct() {
  for (std::size_t p = 0; p < kRows.size(); ++p) {
    const bool registered =
        kRows[p].value != TransferSyntax::EXS_Unknown && kRows[p].value != TransferSyntax::EXS_BigEndianImplicit;
    if (registered != !kRows[p].uid.empty()) return false;
    if (registered && !isWellFormedUid(kRows[p].uid)) return false;
    for (std::size_t q = p + 1; q < kRows.size(); ++q)
      if (registered && kRows[p].uid == kRows[q].uid) return false;
  }
  return true;
}
static_assert(uidsAreWellFormedAndDistinct(), "transfer syntax UIDs must be well formed and distinct");

}  // namespace
}  // namespace telvor
