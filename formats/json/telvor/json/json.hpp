// The JSON format: any codable value of the library as JSON text or a Boost.JSON document.
//
//   std::string text = telvor::json::encode(node);                  // compact
//   std::string pretty = telvor::json::encode(node, {.indent = 2});
//   auto back = telvor::json::decode<telvor::DicomNode>(text);      // strict; throws
//   auto all = telvor::json::decode<std::vector<telvor::DicomNode>>(text);  // a JSON array
//
// Every function throws the library's DecodingError or EncodingError (this header
// includes their declarations, so a caller catches them with this include alone).
//
// Output is deterministic: keys come out in the order the coded form writes them.
// Input that is not JSON (truncated, trailing bytes, invalid UTF-8, comments) or that is
// nested deeper than kMaxDepth is DecodingError::dataCorrupted at the empty path, with a
// description that says what is wrong and where (line, column and byte offset). No
// Boost exception ever leaves these functions, and no input can exhaust the stack.
// See json_backend.hpp for how JSON values map onto the coding interface.
#pragma once

#include <boost/json/monotonic_resource.hpp>
#include <boost/json/value.hpp>

#include <string>
#include <string_view>

#include "telvor/coding/codable.hpp"
#include "telvor/coding/coding_error.hpp"
#include "telvor/coding/decoder.hpp"
#include "telvor/coding/encoder.hpp"
#include "telvor/json/json_backend.hpp"
#include "telvor/json/telvor_json_export.hpp"

namespace telvor::json {

// The deepest nesting of arrays and objects that parse() accepts.
inline constexpr std::size_t kMaxDepth = 64;

struct WriteOptions {
  int indent = 0;  // 0: compact, on one line; N > 0: one entry a line, indented by N spaces
};

// Parses JSON text into a document (allocated from `storage`, the default resource when
// null). Throws DecodingError::dataCorrupted at the empty path when the text is not one
// well-formed JSON value.
TELVOR_JSON_API boost::json::value parse(std::string_view text, boost::json::storage_ptr storage = {});

// Serialises a document. With an indent, empty objects and arrays stay "{}" and "[]".
TELVOR_JSON_API std::string serialize(const boost::json::value& document, WriteOptions options = {});

// The coded form of `value` as a document.
template <Codable T>
boost::json::value toDocument(const T& value, boost::json::storage_ptr storage = {}) {
  JsonEncoderBackend backend;
  boost::json::value document(std::move(storage));
  Encoder encoder(backend, &document);
  telvor::encode(value, encoder);
  return document;
}

// The coded form of `value` as JSON text. Throws EncodingError for text that is not UTF-8.
template <Codable T>
std::string encode(const T& value, WriteOptions options = {}) {
  boost::json::monotonic_resource scratch;
  return serialize(toDocument(value, &scratch), options);
}

// Reads a T from a document. `at` is where the document stands in a larger one (errors
// carry it as the start of their path), the top by default.
template <Codable T>
T fromDocument(const boost::json::value& document, CodingPathLink at = {}) {
  const JsonDecoderBackend backend;
  return telvor::decode<T>(Decoder(backend, &document, at));
}

// Reads a T from JSON text: parse(), then fromDocument(). Raises the first error.
template <Codable T>
T decode(std::string_view text) {
  boost::json::monotonic_resource scratch;
  return fromDocument<T>(parse(text, &scratch));
}

}  // namespace telvor::json
