// Writing a catalogue file so that it is never left half-written: the bytes go to a
// temporary file beside it, which is flushed to disk and renamed over the original.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace telvor::node_manager {

struct SaveError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Replaces `path` with `bytes` in one step, keeping the original's permissions. On any
// failure the original is untouched and SaveError names the path and the cause.
void saveAtomically(const std::string& path, std::string_view bytes);

}  // namespace telvor::node_manager
