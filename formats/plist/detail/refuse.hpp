// How the format's units raise PlistError, so every message opens the same way.
#pragma once

#include <string>
#include <utility>

#include "telvor/plist/plist_error.hpp"

namespace telvor::plist::detail {

// "cannot read property list: <message>"
[[noreturn]] inline void refuseInput(PlistError::Kind kind, const std::string& message) {
  throw PlistError(kind, "cannot read property list: " + message);
}

// "cannot write property list: <message>"; `path` names the offending value, if one.
[[noreturn]] inline void refuseOutput(PlistError::Kind kind, const std::string& message, std::string path = {}) {
  throw PlistError(kind, "cannot write property list: " + message, std::move(path));
}

}  // namespace telvor::plist::detail
