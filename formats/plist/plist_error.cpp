#include "telvor/plist/plist_error.hpp"

#include <array>

namespace telvor::plist {
namespace {
constexpr std::array<std::string_view, 6> kKindNames{
    "malformed", "unexpectedShape", "unsupportedValue", "tooDeep", "tooLarge", "unwritable"};
}  // namespace

PlistError::PlistError(Kind kind, const std::string& message) : std::runtime_error(message), kind_(kind) {}

std::string_view PlistError::kindName() const noexcept { return kKindNames[static_cast<std::size_t>(kind_)]; }

}  // namespace telvor::plist
