// How the catalogue's errors reach the tool's user: one table from an error's kind (and,
// where an option helps, its operation and system error) to an exit status and a hint.
#pragma once

#include <string>

#include "telvor/catalogue/catalogue_error.hpp"
#include "tool_error.hpp"

namespace telvor::tool {

// The exit status for an error of this kind, met while doing `operation`.
ExitStatus exitStatusOf(catalogue::CatalogueError::Kind kind, catalogue::CatalogueError::Operation operation,
                        int errorNumber);

// `message` followed by the option hint the table gives, if any.
std::string withHint(const std::string& message, catalogue::CatalogueError::Kind kind,
                     catalogue::CatalogueError::Operation operation, int errorNumber);

// Throws the tool's error (UsageError, InputError, SaveFailure) for `error`, its message
// prefixed by `context` (e.g. "standard input: "), followed by `suffix` and given its hint.
[[noreturn]] void throwToolError(const catalogue::CatalogueError& error, const std::string& context = {},
                                 const std::string& suffix = {});

}  // namespace telvor::tool
