// JSON bytes read by both readers: simdjson's (as json::decode uses it) and Boost.JSON's,
// as every codable type of the library. Any difference in value, error kind, path or
// message aborts.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "support/check.hpp"
#include "support/json_agreement.hpp"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const std::string difference = telvor::testing_support::disagreement(text);
  if (!difference.empty()) telvor::fuzz::fail("both JSON readers agree", difference);
  return 0;
}
