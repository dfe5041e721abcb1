#include "telvor/plist/plist_error.hpp"

#include <array>
#include <utility>

namespace telvor::plist {
namespace {
constexpr std::array<std::string_view, 6> kKindNames{
    "malformed", "unexpectedShape", "unsupportedValue", "tooDeep", "tooLarge", "unwritable"};
}  // namespace

PlistError::PlistError(Kind kind, const std::string& message, std::string path)
    : std::runtime_error(message), kind_(kind), path_(std::move(path)) {}

std::string_view PlistError::kindName() const noexcept { return kKindNames[static_cast<std::size_t>(kind_)]; }

}  // namespace telvor::plist
