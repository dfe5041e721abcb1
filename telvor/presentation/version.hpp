// The library's version, as exported data that applications and identification tools
// read without calling into the library.
//
//   if (TelvorVersionNumber < 1.0) { ... }                       // 1.0
//   std::printf("%s", reinterpret_cast<const char*>(TelvorVersionString));
//   // "@(#)PROGRAM:Telvor  PROJECT:Quenmark-1\n"
//
// Both are C symbols, undecorated, in the shared library's dynamic symbol table. The
// "@(#)" prefix lets tools such as what(1) find the string inside the library file; its
// final "-1" is the build version that TelvorVersionNumber also carries.
#pragma once

#include "telvor/telvor_export.hpp"

extern "C" {

// The build version: 1.0.
TELVOR_API extern const double TelvorVersionNumber;

// "@(#)PROGRAM:Telvor  PROJECT:Quenmark-1", a line feed and the terminating NUL: 40 bytes.
TELVOR_API extern const unsigned char TelvorVersionString[40];

}  // extern "C"
