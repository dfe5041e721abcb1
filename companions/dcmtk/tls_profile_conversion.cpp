#include "telvor/dcmtk/tls_profile_conversion.hpp"

namespace telvor::dcmtk {
namespace {

// The codes are DCMTK's enumerator values, case by case.
static_assert(toDcmtk(TLSSecurityProfile::profile0) == TSP_Profile_None);
static_assert(toDcmtk(TLSSecurityProfile::profile1) == TSP_Profile_Basic);
static_assert(toDcmtk(TLSSecurityProfile::profile2) == TSP_Profile_AES);
static_assert(toDcmtk(TLSSecurityProfile::profile3) == TSP_Profile_BCP195);
static_assert(toDcmtk(TLSSecurityProfile::profile4) == TSP_Profile_BCP195_ND);
static_assert(toDcmtk(TLSSecurityProfile::profile5) == TSP_Profile_BCP195_Extended);
static_assert(!fromDcmtk(TSP_Profile_IHE_ATNA_Unencrypted).has_value());

}  // namespace
}  // namespace telvor::dcmtk
