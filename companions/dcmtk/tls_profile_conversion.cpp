#include "telvor/dcmtk/tls_profile_conversion.hpp"

namespace telvor::dcmtk {
namespace {

// The codes are DCMTK's enumerator values, case by case, both ways.
constexpr bool bothWays(TLSSecurityProfile ours, DcmTLSSecurityProfile theirs) {
  return toDcmtk(ours) == theirs && fromDcmtk(theirs) == ours;
}
static_assert(bothWays(TLSSecurityProfile::profile0, TSP_Profile_None));
static_assert(bothWays(TLSSecurityProfile::profile1, TSP_Profile_Basic));
static_assert(bothWays(TLSSecurityProfile::profile2, TSP_Profile_AES));
static_assert(bothWays(TLSSecurityProfile::profile3, TSP_Profile_BCP195));
static_assert(bothWays(TLSSecurityProfile::profile4, TSP_Profile_BCP195_ND));
static_assert(bothWays(TLSSecurityProfile::profile5, TSP_Profile_BCP195_Extended));
static_assert(!fromDcmtk(TSP_Profile_IHE_ATNA_Unencrypted).has_value());
static_assert(allCases<TLSSecurityProfile>().size() == 6, "a new profile needs its DCMTK counterpart above");

}  // namespace
}  // namespace telvor::dcmtk
