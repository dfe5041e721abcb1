#include "telvor/coding/coding_error.hpp"

#include <utility>

namespace telvor {

namespace {
std::string_view kindText(DecodingError::Kind kind) noexcept {
  switch (kind) {
    case DecodingError::Kind::typeMismatch: return "typeMismatch";
    case DecodingError::Kind::valueNotFound: return "valueNotFound";
    case DecodingError::Kind::keyNotFound: return "keyNotFound";
    case DecodingError::Kind::dataCorrupted: return "dataCorrupted";
  }
  return "dataCorrupted";
}

std::string composeMessage(std::string_view kind, const CodingErrorContext& context) {
  std::string message(kind);
  message += " at ";
  message += describe(context.codingPath);
  message += ": ";
  message += context.debugDescription;
  return message;
}
}  // namespace

CodingError::CodingError(std::string_view kind, CodingErrorContext context)
    : context_(std::move(context)), message_(composeMessage(kind, context_)) {}

DecodingError::DecodingError(Kind kind, std::string expectedType, CodingPathComponent key,
                             CodingErrorContext context)
    : CodingError(kindText(kind), std::move(context)),
      kind_(kind),
      expectedType_(std::move(expectedType)),
      key_(std::move(key)) {}

std::string_view DecodingError::kindName() const noexcept { return kindText(kind_); }

DecodingError DecodingError::typeMismatch(std::string expectedType, CodingErrorContext context) {
  return DecodingError(Kind::typeMismatch, std::move(expectedType), {}, std::move(context));
}

DecodingError DecodingError::valueNotFound(std::string expectedType, CodingErrorContext context) {
  return DecodingError(Kind::valueNotFound, std::move(expectedType), {}, std::move(context));
}

DecodingError DecodingError::keyNotFound(CodingPathComponent key, CodingErrorContext context) {
  return DecodingError(Kind::keyNotFound, {}, std::move(key), std::move(context));
}

DecodingError DecodingError::dataCorrupted(CodingErrorContext context) {
  return DecodingError(Kind::dataCorrupted, {}, {}, std::move(context));
}

EncodingError::EncodingError(std::string valueType, CodingErrorContext context)
    : CodingError("invalidValue", std::move(context)), valueType_(std::move(valueType)) {}

EncodingError EncodingError::invalidValue(std::string valueType, CodingErrorContext context) {
  return EncodingError(std::move(valueType), std::move(context));
}

}  // namespace telvor
