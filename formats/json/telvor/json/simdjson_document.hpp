// JSON text read with simdjson's DOM parser: the reading half of json::decode.
//
//   telvor::json::SimdjsonDocument document;
//   if (document.parse(text)) nodes = document.decode<std::vector<telvor::DicomNode>>();
//
// Values and errors read through it are those of the Boost.JSON reader (JsonDecoderBackend,
// whose header says how JSON meets the coding interface): the same kinds, the last of
// duplicate keys, Int64 integers only, keys found in any order, the same messages at the
// same paths. simdjson parses the whole text first, so anything that is not JSON (and
// anything nested deeper than kMaxDepth) is refused before a value is read. It is refused
// without a position, though, and simdjson also refuses some JSON that Boost.JSON reads
// (integers beyond 64 bits): json::decode hands every text that parse() refuses to the
// Boost.JSON reader, and also a text whose error describes a real number (Boost.JSON may
// round its last digit otherwise), so that errors are exactly that reader's.
//
// A document is read by one thread at a time (its reader keeps cursors into the arrays
// and objects being read).
#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "telvor/coding/codable.hpp"
#include "telvor/coding/coding_path.hpp"
#include "telvor/coding/decoder.hpp"
#include "telvor/json/telvor_json_export.hpp"

namespace telvor::json {

class TELVOR_JSON_API SimdjsonDocument {
 public:
  SimdjsonDocument();
  ~SimdjsonDocument();
  SimdjsonDocument(const SimdjsonDocument&) = delete;
  SimdjsonDocument& operator=(const SimdjsonDocument&) = delete;

  // Bytes past a text's end that simdjson may read (their values do not matter).
  static constexpr std::size_t kPadding = 64;

  // Parses `text`. False, with no document, when simdjson refuses it. A parse replaces the
  // previous document. The text is copied, unless `padded` says that kPadding bytes past
  // its end are readable (a std::string whose capacity leaves that room): then it is read
  // in place, and must not change until the document has been read.
  bool parse(std::string_view text, bool padded = false);

  // The backend and root position of the parsed document, valid until the next parse.
  const DecoderBackend& backend() const noexcept;
  DecoderBackend::Position root() const noexcept;

  // A thread keeps the buffers of its last document of up to this many bytes for its next
  // one, as fresh memory costs a page fault per page (half the decoding time of a large
  // document). simdjson reserves about 15 times the text's size, of which parsing touches
  // (and the thread then keeps resident) about 3 times. Larger documents' buffers are
  // freed at once; releaseKeptBuffers() frees the kept ones.
  static constexpr std::size_t kKeptCapacity = std::size_t{4} << 20;

  // Frees the buffers the calling thread keeps (for a program that holds on to little
  // after reading a large document).
  static void releaseKeptBuffers() noexcept;

  // Reads a T from the parsed document (DecodingError as the coding interface says).
  template <Codable T>
  T decode(CodingPathLink at = {}) const {
    return telvor::decode<T>(Decoder(backend(), root(), at));
  }

 
  struct State;

 private:
  std::unique_ptr<State> state_;
};

}  // namespace telvor::json
