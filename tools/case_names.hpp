// The code names of the enumerations a user may type (EXS_JPEG2000, jpegLossless), as
// data: the library keeps codes and titles, not the names of its cases.
#pragma once

#include <optional>
#include <string_view>

#include "telvor/vocabulary/supported_wado_transfer_syntax_type.hpp"
#include "telvor/vocabulary/transfer_syntax.hpp"

namespace telvor::tool {

std::string_view caseName(TransferSyntax value) noexcept;
std::string_view caseName(SupportedWadoTransferSyntaxType value) noexcept;

// A value from a decimal code, a case name or a title (exactly as `list` shows it).
std::optional<TransferSyntax> parseTransferSyntax(std::string_view text);
std::optional<SupportedWadoTransferSyntaxType> parseWadoSyntax(std::string_view text);

}  // namespace telvor::tool
