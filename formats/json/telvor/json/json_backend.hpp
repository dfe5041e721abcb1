// The JSON format's implementation of the coding interface over Boost.JSON documents.
//
// Most applications use the functions of telvor/json/json.hpp instead; these classes are
// for code that walks its own Boost.JSON documents with Decoder and Encoder directly:
//
//   telvor::json::JsonDecoderBackend backend;
//   telvor::Decoder decoder(backend, &document);
//   auto node = telvor::decode<telvor::DicomNode>(decoder);
//
// How JSON values meet the interface:
// - an object is a keyed container; its keys keep the order in which they were written;
// - an array is an unkeyed container;
// - only `true` and `false` are booleans, only strings are text;
// - only integer numbers within the signed 64-bit range are integers: 1.0, 1e3, "1" and
//   true are a typeMismatch where an integer is expected; an integer beyond the range
//   (Boost.JSON keeps those as unsigned or real numbers) is dataCorrupted;
// - null reads as absent through decodeIfPresent and as valueNotFound through decode;
// - a text that is not valid UTF-8 cannot be written (EncodingError::invalidValue).
// json::decode reads with simdjson (simdjson_document.hpp) by these same rules, and falls
// back to this reader for texts simdjson refuses.
#pragma once

#include <boost/json/value.hpp>

#include "telvor/coding/decoder.hpp"
#include "telvor/coding/encoder.hpp"
#include "telvor/json/telvor_json_export.hpp"

namespace telvor::json {

// Reads from `const boost::json::value*` positions. Stateless; one may serve any number
// of decoders at once.
class TELVOR_JSON_API JsonDecoderBackend final : public DecoderBackend {
 public:
  ValueKind kind(Position value) const noexcept override;
  std::string describe(Position value) const override;
  Position entry(Position keyed, std::string_view key) const noexcept override;
  Position findEntry(Position keyed, std::string_view key, std::size_t& hint) const noexcept override;
  std::size_t entryCount(Position keyed) const noexcept override;
  std::string_view entryName(Position keyed, std::size_t index) const noexcept override;
  std::size_t elementCount(Position unkeyed) const noexcept override;
  Position element(Position unkeyed, std::size_t index) const noexcept override;
  bool boolValue(Position value) const noexcept override;
  std::int64_t intValue(Position value) const noexcept override;
  std::string_view textValue(Position value) const noexcept override;
};

// Writes into `boost::json::value*` slots. Stateless.
class TELVOR_JSON_API JsonEncoderBackend final : public EncoderBackend {
 public:
  Slot makeKeyed(Slot slot) override;
  void expectEntries(Slot keyed, std::size_t count) override;
  Slot entry(Slot keyed, std::string_view key) override;
  Slot makeUnkeyed(Slot slot) override;
  void expectElements(Slot unkeyed, std::size_t count) override;
  Slot appendElement(Slot unkeyed) override;
  void setBool(Slot slot, bool value) override;
  void setInt(Slot slot, std::int64_t value) override;
  bool canHoldText(std::string_view text) const noexcept override;
  void setText(Slot slot, std::string_view text) override;
};

}  // namespace telvor::json
