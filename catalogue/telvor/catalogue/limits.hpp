// The catalogue's limits, in one place.
//
//   auto bytes = telvor::catalogue::readBounded(path);   // refuses above kDefaultMaxInputBytes
#pragma once

#include <cstdint>

namespace telvor::catalogue {

// Larger inputs are refused unread (256 MiB): far above any real catalogue, well below what
// would exhaust memory when /dev/zero or a runaway pipe is named.
inline constexpr std::uint64_t kDefaultMaxInputBytes = std::uint64_t{256} << 20;

}  // namespace telvor::catalogue
