#include "telvor/dcmtk/transfer_syntax_conversion.hpp"

namespace telvor::dcmtk {
namespace {

// The conversion keeps codes, so both ends of the range and DCMTK's enumerator width must
// agree. Every name is checked against DCMTK's table in the tests.
static_assert(toDcmtk(TransferSyntax::EXS_Unknown) == EXS_Unknown);
static_assert(toDcmtk(TransferSyntax::EXS_LittleEndianImplicit) == EXS_LittleEndianImplicit);
static_assert(toDcmtk(TransferSyntax::EXS_PrivateGE_LEI_WithBigEndianPixelData) ==
              EXS_PrivateGE_LEI_WithBigEndianPixelData);
static_assert(fromDcmtk(EXS_HEVCMain10ProfileLevel5_1) == TransferSyntax::EXS_HEVCMain10ProfileLevel5_1);

}  // namespace
}  // namespace telvor::dcmtk
