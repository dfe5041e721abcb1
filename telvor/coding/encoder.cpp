#include "telvor/coding/encoder.hpp"

#include "telvor/coding/coding_error.hpp"

namespace telvor {

EncoderBackend::~EncoderBackend() = default;

void EncoderBackend::expectEntries(Slot, std::size_t) {}

void EncoderBackend::expectElements(Slot, std::size_t) {}

namespace detail {

void checkText(const EncoderBackend& backend, std::string_view text, const CodingPathLink& at) {
  if (backend.canHoldText(text)) return;
  throw EncodingError::invalidValue(
      "String", {at.materialize(), "The text is not valid UTF-8 and cannot be written in this format.", nullptr});
}

void encodeCode(Encoder& encoder, std::int64_t code) { encoder.singleValueContainer().encode(code); }

}  // namespace detail
}  // namespace telvor
