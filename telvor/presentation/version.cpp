#include "telvor/presentation/version.hpp"

extern "C" {

const double TelvorVersionNumber = 1.0;

// Sized by the header; the trailing line feed is part of the identification string.
const unsigned char TelvorVersionString[40] = "@(#)PROGRAM:Telvor  PROJECT:Quenmark-1\n";

}  // extern "C"
