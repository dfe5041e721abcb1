// TransferSyntax and DCMTK's E_TransferSyntax, one to the other.
//
// The library's transfer syntaxes carry DCMTK's enumerator names and codes, so the
// conversion keeps the code: EXS_JPEGProcess1 (4) is DCMTK's EXS_JPEGProcess1 (4), and
// EXS_Unknown (-1) is DCMTK's EXS_Unknown.
//
//   E_TransferSyntax x = telvor::dcmtk::toDcmtk(node.transferSyntax);
//   DcmXfer(x).getXferID();                                  // the UID, as telvor::uid gives it
//   telvor::dcmtk::fromDcmtk(EXS_LittleEndianExplicit);      // TransferSyntax::EXS_LittleEndianExplicit
#pragma once

#include <optional>

#include "dcmtk/config/osconfig.h"  // DCMTK wants its configuration before any of its headers
#include "dcmtk/dcmdata/dcxfer.h"
#include "telvor/vocabulary/transfer_syntax.hpp"

namespace telvor::dcmtk {

// DCMTK's transfer syntax with the same name and code. Total.
constexpr E_TransferSyntax toDcmtk(TransferSyntax value) noexcept {
  return static_cast<E_TransferSyntax>(rawValue(value));
}

// The library's transfer syntax with the same name and code, or absent for a syntax the
// library does not list (later DCMTK releases add some).
constexpr std::optional<TransferSyntax> fromDcmtk(E_TransferSyntax value) noexcept {
  return fromRawValue<TransferSyntax>(static_cast<std::int64_t>(value));
}

}  // namespace telvor::dcmtk
