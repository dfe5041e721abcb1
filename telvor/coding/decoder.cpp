#include "telvor/coding/decoder.hpp"

#include "telvor/coding/coding_error.hpp"

namespace telvor {

DecoderBackend::~DecoderBackend() = default;

DecoderBackend::Position DecoderBackend::findEntry(Position keyed, std::string_view key, std::size_t&) const noexcept {
  return entry(keyed, key);
}

std::size_t DecoderBackend::elementCount(Position) const noexcept { return 0; }

DecoderBackend::Position DecoderBackend::element(Position, std::size_t) const noexcept { return nullptr; }

namespace detail {
namespace {

[[noreturn]] void throwMismatch(const DecoderBackend& backend, Position value, const CodingPathLink& at,
                                std::string_view expected) {
  if (backend.kind(value) == DecoderBackend::ValueKind::null) {
    throw DecodingError::valueNotFound(std::string(expected),
                                       {at.materialize(), "Expected " + std::string(expected) +
                                                              " value but found null instead.", nullptr});
  }
  throw DecodingError::typeMismatch(std::string(expected),
                                    {at.materialize(), "Expected to decode " + std::string(expected) +
                                                           " but found " + backend.describe(value) + " instead.",
                                     nullptr});
}

}  // namespace

Position keyedOrThrow(const DecoderBackend& backend, Position value, const CodingPathLink& at) {
  if (backend.kind(value) != DecoderBackend::ValueKind::keyed) throwMismatch(backend, value, at, "keyed container");
  return value;
}

Position unkeyedOrThrow(const DecoderBackend& backend, Position value, const CodingPathLink& at) {
  if (backend.kind(value) != DecoderBackend::ValueKind::unkeyed) throwMismatch(backend, value, at, "unkeyed container");
  return value;
}

bool readBool(const DecoderBackend& backend, Position value, const CodingPathLink& at) {
  if (backend.kind(value) != DecoderBackend::ValueKind::boolean) throwMismatch(backend, value, at, "Bool");
  return backend.boolValue(value);
}

std::int64_t readInt(const DecoderBackend& backend, Position value, const CodingPathLink& at) {
  const auto kind = backend.kind(value);
  if (kind == DecoderBackend::ValueKind::integerOutOfRange) {
    throw DecodingError::dataCorrupted(
        {at.materialize(), "Expected Int64 but found " + backend.describe(value) + ", which does not fit in Int64.",
         nullptr});
  }
  if (kind != DecoderBackend::ValueKind::integer) throwMismatch(backend, value, at, "Int64");
  return backend.intValue(value);
}

std::string_view readText(const DecoderBackend& backend, Position value, const CodingPathLink& at) {
  if (backend.kind(value) != DecoderBackend::ValueKind::text) throwMismatch(backend, value, at, "String");
  return backend.textValue(value);
}

void throwKeyNotFound(const CodingPathLink& container, std::string_view key) {
  throw DecodingError::keyNotFound(
      CodingPathComponent::key(key),
      {container.materialize(), "No value associated with key \"" + std::string(key) + "\".", nullptr});
}

void throwAtEnd(const CodingPathLink& element, std::string_view expected) {
  throw DecodingError::valueNotFound(std::string(expected),
                                     {element.materialize(), "Unkeyed container is at end.", nullptr});
}

std::int64_t decodeCode(const Decoder& decoder) {
  return decoder.singleValueContainer().decode<std::int64_t>();
}

void throwUnknownCode(const Decoder& decoder, std::string_view enumName, std::string_view codeType,
                      std::int64_t code) {
  throw DecodingError::dataCorrupted({decoder.codingPath(),
                                      "Cannot initialize " + std::string(enumName) + " from invalid " +
                                          std::string(codeType) + " value " + std::to_string(code),
                                      nullptr});
}

}  // namespace detail
}  // namespace telvor
