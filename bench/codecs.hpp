// The ways of turning a catalogue into JSON text and back that the benchmarks compare.
// Each does the same work: decoding parses the whole text once and extracts every field
// of every node into a DicomNode; encoding builds one document for all the nodes and
// serialises it. All read the same text and write it (nlohmann::json with its keys
// sorted); bench/agreement.cpp checks that before anything is timed.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "telvor/node/dicom_node.hpp"

namespace bench {

// Through the library: telvor::json::decode of the array (simdjson's parser under the
// coding interface); an Encoder per array slot and telvor::json::serialize.
namespace library {
std::vector<telvor::DicomNode> decode(std::string_view text);
std::string encode(std::span<const telvor::DicomNode> nodes);
}  // namespace library

// The library's Boost.JSON reader: telvor::json::parse and fromDocument<DicomNode> per
// element (what json::decode did before it read with simdjson).
namespace library_boost {
std::vector<telvor::DicomNode> decode(std::string_view text);
}  // namespace library_boost

// simdjson's DOM used directly, with the same checks as the coded form: the floor of
// the library's decoder (decoding only).
namespace simdjson_direct {
std::vector<telvor::DicomNode> decode(std::string_view text);
}  // namespace simdjson_direct

// What an application developer writes by hand with nlohmann::json: to_json/from_json
// for the three records. nlohmann::json keeps keys sorted, so its text holds the same
// entries in another order; the same code over nlohmann::ordered_json writes the very
// same bytes.
namespace nlohmann_json {
std::vector<telvor::DicomNode> decode(std::string_view text);
std::string encode(std::span<const telvor::DicomNode> nodes);
}  // namespace nlohmann_json
namespace nlohmann_ordered {
std::vector<telvor::DicomNode> decode(std::string_view text);
std::string encode(std::span<const telvor::DicomNode> nodes);
}  // namespace nlohmann_ordered

// Boost.JSON used directly, without the coding interface: the floor of the library's
// JSON backend. Same checks as the coded form (kinds, known codes, UUID text).
namespace direct {
std::vector<telvor::DicomNode> decode(std::string_view text);
std::string encode(std::span<const telvor::DicomNode> nodes);
}  // namespace direct

}  // namespace bench
