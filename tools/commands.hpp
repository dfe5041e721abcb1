// What the commands share: reading the catalogue a command names, and the errors of the
// catalogue library mapped onto the tool's exit statuses.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "options.hpp"
#include "telvor/catalogue/catalogue.hpp"

namespace telvor::tool {

int runConvert(const Options& options);
int runVersion();
struct SelectorOptions;
// `echo` of the catalogue's nodes, or of the one node `select` names when it names one.
int runEcho(const Options& options, const SelectorOptions& select);

// The catalogue in FILE ("-": standard input), or the bundled sample catalogue when no
// file is named, read for viewing (nodes only). Throws the tool's error for a CatalogueError (see catalogue_errors.hpp).
catalogue::Catalogue readCatalogue(const std::optional<std::string>& input, std::uint64_t maxInputBytes);

// The bytes of the sample catalogue bundled into the tool (examples/nodes.plist).
std::string_view sampleCatalogue() noexcept;

}  // namespace telvor::tool
