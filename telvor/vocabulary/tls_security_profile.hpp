// TLSSecurityProfile: the TLS security profile applied to a node whose TLS is on.
//
// A coded enumeration without a title: rawValue, fromRawValue, allCases, id, equality,
// hashing and the coded form (the bare code, 0 to 5). Which protocol versions and cipher
// suites a profile stands for is the application's secure-transport layer's business;
// a picker supplies its own labels. A value is held as its full 64-bit code.
//
//   telvor::fromRawValue<telvor::TLSSecurityProfile>(0);  // profile0
//   telvor::fromRawValue<telvor::TLSSecurityProfile>(6);  // std::nullopt
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "telvor/coding/coded_enum.hpp"

namespace telvor {

enum class TLSSecurityProfile : std::int64_t {
  profile0 = 0,
  profile1 = 1,  // the default of a new TlsSettings
  profile2 = 2,
  profile3 = 3,
  profile4 = 4,
  profile5 = 5,
};

template <>
struct EnumTraits<TLSSecurityProfile> {
  static constexpr std::string_view name = "TLSSecurityProfile";
  static constexpr EnumFeatures features{.allCases = true, .id = true, .title = false, .codable = true};
  using P = TLSSecurityProfile;
  static constexpr auto rows = casesOnly(
      P::profile0, P::profile1, P::profile2, P::profile3, P::profile4, P::profile5);
};

// Stored settings hold the code, and the code is the position: fromRawValue is a bounds test.
static_assert(codesArePositions<TLSSecurityProfile>, "TLS profile codes are their positions");

static_assert(sizeof(TLSSecurityProfile) == 8, "a profile is held as its full 64-bit code");

}  // namespace telvor
