// What the commands share: reading the catalogue a command names, and the errors of the
// catalogue library mapped onto the tool's exit statuses.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "catalogue.hpp"
#include "catalogue_error.hpp"
#include "options.hpp"

namespace telvor::tool {

int runConvert(const Options& options);
int runVersion();
struct SelectorOptions;
// `echo` of the catalogue's nodes, or of the one node `select` names when it names one.
int runEcho(const Options& options, const SelectorOptions& select);

// The catalogue in FILE ("-": standard input), or the bundled sample catalogue when no
// file is named. Throws InputError.
catalogue::Catalogue readCatalogue(const std::optional<std::string>& input, std::uint64_t maxInputBytes);

// Rethrows a CatalogueError as the tool's error for its kind.
[[noreturn]] void rethrowAsToolError(const catalogue::CatalogueError& error);

// The bytes of the sample catalogue bundled into the tool (examples/nodes.plist).
std::string_view sampleCatalogue() noexcept;

}  // namespace telvor::tool
