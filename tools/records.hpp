// Records of one type read from, and written to, either format.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "options.hpp"

namespace telvor::tool {

template <class T>
struct Records {
  std::vector<T> values;
  bool wasArray = false;  // the input held an array; the output mirrors it
};

// Reads records: a property list through each record's lenient dictionary constructor,
// JSON through its strict coded form. Throws InputError ("KIND at PATH: DESCRIPTION").
// JSON is read in place, without a copy, when `bytes` has room for the JSON reader's
// padding past its end (see padForReading).
template <class T>
Records<T> readRecords(const std::string& bytes, Format format);

// Gives `bytes` the room past its end that lets JSON be read in place (a regular file read
// by readInput has it already; anything else may be copied once).
void padForReading(std::string& bytes);

// Writes records: a property list of their dictionary forms (XML, or binary), or their
// coded forms as JSON indented by two spaces. Throws InputError for a record that has no
// dictionary form.
template <class T>
std::string writeRecords(const Records<T>& records, Format format, bool binary);

// A property list's records as JSON, each record made from its dictionary and written
// before the next is read, so that neither all dictionaries nor all records exist at once.
// The same text and errors as writeRecords(readRecords(bytes, plist), json).
template <class T>
std::string convertPlistToJson(const std::string& bytes);

}  // namespace telvor::tool
