// Checks of text equality (canonical equivalence) against a plain reference: two valid
// UTF-8 texts are equal exactly when their NFD forms are byte-equal, and any other text
// equals only its own bytes. The library answers most pairs without normalising; this is
// what keeps those shortcuts honest.
#pragma once

#include <span>
#include <string>

namespace telvor::fuzz {

// Checks textEquals for every pair of `texts` (and each text against its NFD and NFC
// forms) against the reference. Aborts on a difference.
void checkTextEquality(std::span<const std::string> texts);

}  // namespace telvor::fuzz
