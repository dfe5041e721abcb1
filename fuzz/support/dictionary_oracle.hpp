// A second reading of the dictionary forms, written from their key tables rather than
// from the records' code, and the checks every dictionary must pass:
//
// - each record's dictionary constructor gives exactly the fields the key table says
//   (texts byte for byte) and never throws;
// - toDictionary() followed by the constructor obeys the documented asymmetries (for a
//   node: identity fields, transfer syntax, retrieve mode and icon come back equal,
//   isDicomNode true, isQueryable present, TLS present, WADO defaults unless wado...);
// - a node read from a dictionary survives the JSON coded form exactly, or, when one of
//   its texts is not UTF-8, is refused with invalidValue at that text's path.
//
// Every check aborts with a description when it fails.
#pragma once

#include "telvor/coding/property_dictionary.hpp"

namespace telvor::fuzz {

// Reads `dictionary` as a TlsSettings, a WadoSettings and a DicomNode, and checks each
// as above.
void checkDictionaryReading(const PropertyDictionary& dictionary);

}  // namespace telvor::fuzz
