#include "telvor/dcmtk/transfer_syntax_conversion.hpp"

#include <gtest/gtest.h>

#include <set>

namespace telvor::dcmtk {
namespace {

// Every case paired with DCMTK's enumerator of the same name.
#define TELVOR_XFER(name) {TransferSyntax::name, ::name, #name}
struct Pair {
  TransferSyntax ours;
  E_TransferSyntax theirs;
  const char* name;
};
const Pair kPairs[] = {
    TELVOR_XFER(EXS_Unknown),
    TELVOR_XFER(EXS_LittleEndianImplicit),
    TELVOR_XFER(EXS_BigEndianImplicit),
    TELVOR_XFER(EXS_LittleEndianExplicit),
    TELVOR_XFER(EXS_BigEndianExplicit),
    TELVOR_XFER(EXS_JPEGProcess1),
    TELVOR_XFER(EXS_JPEGProcess2_4),
    TELVOR_XFER(EXS_JPEGProcess3_5),
    TELVOR_XFER(EXS_JPEGProcess6_8),
    TELVOR_XFER(EXS_JPEGProcess7_9),
    TELVOR_XFER(EXS_JPEGProcess10_12),
    TELVOR_XFER(EXS_JPEGProcess11_13),
    TELVOR_XFER(EXS_JPEGProcess14),
    TELVOR_XFER(EXS_JPEGProcess15),
    TELVOR_XFER(EXS_JPEGProcess16_18),
    TELVOR_XFER(EXS_JPEGProcess17_19),
    TELVOR_XFER(EXS_JPEGProcess20_22),
    TELVOR_XFER(EXS_JPEGProcess21_23),
    TELVOR_XFER(EXS_JPEGProcess24_26),
    TELVOR_XFER(EXS_JPEGProcess25_27),
    TELVOR_XFER(EXS_JPEGProcess28),
    TELVOR_XFER(EXS_JPEGProcess29),
    TELVOR_XFER(EXS_JPEGProcess14SV1),
    TELVOR_XFER(EXS_RLELossless),
    TELVOR_XFER(EXS_DeflatedLittleEndianExplicit),
    TELVOR_XFER(EXS_JPEGLSLossless),
    TELVOR_XFER(EXS_JPEGLSLossy),
    TELVOR_XFER(EXS_JPEG2000LosslessOnly),
    TELVOR_XFER(EXS_JPEG2000),
    TELVOR_XFER(EXS_JPEG2000MulticomponentLosslessOnly),
    TELVOR_XFER(EXS_JPEG2000Multicomponent),
    TELVOR_XFER(EXS_JPIPReferenced),
    TELVOR_XFER(EXS_JPIPReferencedDeflate),
    TELVOR_XFER(EXS_MPEG2MainProfileAtMainLevel),
    TELVOR_XFER(EXS_MPEG2MainProfileAtHighLevel),
    TELVOR_XFER(EXS_MPEG4HighProfileLevel4_1),
    TELVOR_XFER(EXS_MPEG4BDcompatibleHighProfileLevel4_1),
    TELVOR_XFER(EXS_MPEG4HighProfileLevel4_2_For2DVideo),
    TELVOR_XFER(EXS_MPEG4HighProfileLevel4_2_For3DVideo),
    TELVOR_XFER(EXS_MPEG4StereoHighProfileLevel4_2),
    TELVOR_XFER(EXS_HEVCMainProfileLevel5_1),
    TELVOR_XFER(EXS_HEVCMain10ProfileLevel5_1),
    TELVOR_XFER(EXS_PrivateGE_LEI_WithBigEndianPixelData),
};
#undef TELVOR_XFER

TEST(DcmtkTransferSyntax, EveryCaseMapsToDcmtksNamesakeAndBack) {
  std::set<TransferSyntax> covered;
  for (const auto& pair : kPairs) {
    EXPECT_EQ(toDcmtk(pair.ours), pair.theirs) << pair.name;
    EXPECT_EQ(fromDcmtk(pair.theirs), pair.ours) << pair.name;
    covered.insert(pair.ours);
  }
  EXPECT_EQ(covered.size(), allCases<TransferSyntax>().size());
}

TEST(DcmtkTransferSyntax, UidsAgreeWithDcmtksTable) {
  for (const TransferSyntax ts : allCases<TransferSyntax>()) {
    const DcmXfer theirs(toDcmtk(ts));
    EXPECT_EQ(uid(ts), theirs.getXferID()) << title(ts);
    if (uid(ts).empty()) continue;
    // DCMTK's look-up by UID lands on the same case.
    EXPECT_EQ(fromDcmtk(DcmXfer(std::string(uid(ts)).c_str()).getXfer()), ts) << uid(ts);
  }
}

TEST(DcmtkTransferSyntax, SyntaxesTheLibraryDoesNotListAreAbsent) {
  EXPECT_EQ(fromDcmtk(static_cast<E_TransferSyntax>(42)), std::nullopt);
  EXPECT_EQ(fromDcmtk(static_cast<E_TransferSyntax>(-2)), std::nullopt);
}

}  // namespace
}  // namespace telvor::dcmtk
