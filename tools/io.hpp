// Reading the tool's input and writing its output.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "options.hpp"

namespace telvor::tool {

// The bytes of `path` ("-": standard input), at most `limit` of them. Throws FileError
// ("PATH: REASON") when it cannot be read or is larger.
std::string readInput(const std::string& path, std::uint64_t limit);

// Saves `bytes` atomically to `path` (see support/atomic_save.hpp), or writes them to
// standard output when absent or "-". Throws FileError when the file cannot be saved and
// OutputError when standard output fails. Called only once the whole output is ready, so a
// failing input never leaves a partial file behind.
void writeOutput(const std::optional<std::string>& path, std::string_view bytes, bool followSymlinks = false);

// The input format: --from, else the path's extension, else what the bytes look like.
Format inputFormat(const std::optional<Format>& from, const std::string& path, std::string_view bytes);

}  // namespace telvor::tool
