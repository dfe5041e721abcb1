// Reading the tool's input and writing its output.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "options.hpp"

namespace telvor::tool {

// The bytes of `path` ("-": standard input). Throws InputError when it cannot be read.
std::string readInput(const std::string& path);

// Writes `bytes` to `path` through the atomic save, or to standard output when absent.
// Throws SaveFailure when the file cannot be written. Called only once the whole output is ready, so a failing input
// never leaves a partial file behind.
void writeOutput(const std::optional<std::string>& path, std::string_view bytes);

// The input format: --from, else the path's extension, else what the bytes look like.
Format inputFormat(const std::optional<Format>& from, const std::string& path, std::string_view bytes);

}  // namespace telvor::tool
