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

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "telvor/coding/codable.hpp"
#include "telvor/coding/coding_error.hpp"
#include "telvor/coding/decoder.hpp"
#include "telvor/coding/encoder.hpp"
#include "telvor/json/json_backend.hpp"
#include "telvor/json/simdjson_document.hpp"
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

namespace detail {
// Appends `document` as serialize() writes it, as if it stood `depth` levels deep.
TELVOR_JSON_API void appendText(std::string& out, const boost::json::value& document, WriteOptions options, int depth);
TELVOR_JSON_API void appendBreak(std::string& out, WriteOptions options, int depth);
}  // namespace detail

// Writes a JSON array into `out` one element at a time, as the generic form writes an
// array: for producers that make elements one by one and should not hold them all (a
// conversion from a streamed property list). Elements' errors carry `$[i]`.
//
//   std::string text;
//   telvor::json::ArrayWriter array(text, {.indent = 2});
//   for (auto& node : source) array.append(node);
//   array.finish();   // text == telvor::json::encode(nodes, {.indent = 2})
class ArrayWriter {
 public:
  ArrayWriter(std::string& out, WriteOptions options) : out_(out), options_(options) { out_ += '['; }
  ArrayWriter(const ArrayWriter&) = delete;
  ArrayWriter& operator=(const ArrayWriter&) = delete;

  // Appends `value`'s coded form. Throws EncodingError (at `$[i]...`) for text that is not
  // UTF-8; the text then holds part of the element.
  template <Codable T>
  void append(const T& value, std::size_t expected = 0) {
    if (count_ > 0) out_ += ',';
    detail::appendBreak(out_, options_, 1);
    {
      boost::json::value document(&scratch_);
      Encoder encoder(backend_, &document, CodingPathLink(nullptr, static_cast<std::int64_t>(count_)));
      telvor::encode(value, encoder);
      detail::appendText(out_, document, options_, 1);
    }
    scratch_.release();
    // The first element's length is a fair guess at every other's.
    if (count_ == 0 && expected > 1) out_.reserve(out_.size() * expected + 64);
    ++count_;
  }

  // Closes the array; append() may not follow.
  void finish() {
    if (count_ > 0) detail::appendBreak(out_, options_, 0);
    out_ += ']';
  }

 private:
  std::string& out_;
  WriteOptions options_;
  std::size_t count_ = 0;
  alignas(std::max_align_t) unsigned char buffer_[8 * 1024];
  boost::json::monotonic_resource scratch_{buffer_, sizeof buffer_};
  JsonEncoderBackend backend_;
};

// An array, as the generic form writes it, but one element's document at a time: the
// text is the only thing that grows with the number of elements.
template <Codable T>
std::string encode(const std::vector<T>& values, WriteOptions options = {}) {
  std::string out;
  ArrayWriter array(out, options);
  for (const T& value : values) array.append(value, values.size());
  array.finish();
  return out;
}

// Reads a T from a document. `at` is where the document stands in a larger one (errors
// carry it as the start of their path), the top by default.
template <Codable T>
T fromDocument(const boost::json::value& document, CodingPathLink at = {}) {
  const JsonDecoderBackend backend;
  return telvor::decode<T>(Decoder(backend, &document, at));
}

// Reads a T from JSON text with the Boost.JSON reader: parse(), then fromDocument().
// Raises the first error.
template <Codable T>
T decodeWithBoost(std::string_view text) {
  boost::json::monotonic_resource scratch;
  return fromDocument<T>(parse(text, &scratch));
}

// Reads a T from JSON text. simdjson reads it (SimdjsonDocument); a text that simdjson
// refuses, or that fails to decode, is read again by decodeWithBoost(), whose error is
// raised: values and errors are those of the Boost.JSON reader either way, and a text that
// is not JSON is refused with its position. Failures are read twice because the readers
// differ where an error is met: simdjson takes numbers Boost.JSON refuses (an exponent
// beyond its range), and Boost.JSON writes a real number's digits otherwise. `padded`: as
// for SimdjsonDocument::parse, the text is read in place rather than copied.
template <Codable T>
T decode(std::string_view text, bool padded = false) {
  {
    SimdjsonDocument document;
    try {
      if (document.parse(text, padded)) return document.decode<T>();
    } catch (const DecodingError&) {
      // read again below
    }
  }
  return decodeWithBoost<T>(text);
}

}  // namespace telvor::json
