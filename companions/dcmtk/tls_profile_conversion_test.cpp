#include "telvor/dcmtk/tls_profile_conversion.hpp"

#include <gtest/gtest.h>

#include <string_view>

namespace telvor::dcmtk {
namespace {

TEST(DcmtkTlsProfile, EachProfileIsDcmtksEnumeratorOfTheSameCode) {
  struct Pair {
    TLSSecurityProfile ours;
    DcmTLSSecurityProfile theirs;
  };
  const Pair pairs[] = {
      {TLSSecurityProfile::profile0, TSP_Profile_None},
      {TLSSecurityProfile::profile1, TSP_Profile_Basic},
      {TLSSecurityProfile::profile2, TSP_Profile_AES},
      {TLSSecurityProfile::profile3, TSP_Profile_BCP195},
      {TLSSecurityProfile::profile4, TSP_Profile_BCP195_ND},
      {TLSSecurityProfile::profile5, TSP_Profile_BCP195_Extended},
  };
  ASSERT_EQ(std::size(pairs), allCases<TLSSecurityProfile>().size());
  for (const auto& pair : pairs) {
    EXPECT_EQ(toDcmtk(pair.ours), pair.theirs) << rawValue(pair.ours);
    EXPECT_EQ(fromDcmtk(pair.theirs), pair.ours) << rawValue(pair.ours);
    EXPECT_FALSE(std::string_view(DcmTLSCiphersuiteHandler::lookupProfileName(pair.theirs)).empty());
  }
}

TEST(DcmtkTlsProfile, TheUnencryptedAtnaProfileHasNoCase) {
  EXPECT_EQ(fromDcmtk(TSP_Profile_IHE_ATNA_Unencrypted), std::nullopt);
}

}  // namespace
}  // namespace telvor::dcmtk
