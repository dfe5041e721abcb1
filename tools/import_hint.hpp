// Telling another system's configuration from a damaged catalogue: a file that is one gets
// the command that reads its peers instead of a parse error alone.
//
//   importHint(bytes, "/etc/dcmtk/dcmqrscp.cfg");
//   // " (it looks like dcmqrscp's configuration: telvor-nodes import --from dcmtk-qr
//   //   /etc/dcmtk/dcmqrscp.cfg reads its peers into a catalogue)"
#pragma once

#include <string>
#include <string_view>

namespace telvor::tool {

// The sentence (starting with a space) to append to a read error for `bytes` read from
// `path`, or empty when they look like no other system's file.
std::string importHint(std::string_view bytes, const std::string& path);

}  // namespace telvor::tool
