// A second reading of the coded forms, written from their key tables rather than from the
// records' code: for a JSON document and a type it says what decoding must give, either
// the error (kind, path, missing key) or the coded form the decoded value re-encodes to.
// The JSON fuzz target compares the library against it.
#pragma once

#include <boost/json/value.hpp>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "telvor/coding/coding_error.hpp"
#include "telvor/coding/coding_path.hpp"

namespace telvor::fuzz {

enum class Shape { text, boolean, integer, code, uuid, record, status };

struct Field;

// How a type is coded.
struct CodedType {
  std::string_view name;
  Shape shape;
  std::span<const Field> fields = {};          // record: the keys in reading order
  bool (*isCode)(std::int64_t) = nullptr;      // code: the codes that have a case
};

struct Field {
  std::string_view key;
  const CodedType* type;
  bool required;  // decode (required) or decodeIfPresent
};

// The coded forms of the library's codable types.
namespace coded {
extern const CodedType tlsSettings;
extern const CodedType wadoSettings;
extern const CodedType dicomNode;
extern const CodedType uuid;
extern const CodedType transferSyntax;
extern const CodedType retrieveMode;
extern const CodedType tlsProfile;
extern const CodedType wadoSyntax;
extern const CodedType dicomNodeStatus;
}  // namespace coded

struct ExpectedFailure {
  DecodingError::Kind kind;
  CodingPath path;
  std::string missingKey;  // keyNotFound only
};

struct Expected {
  std::optional<ExpectedFailure> failure;  // set when decoding must fail
  boost::json::value codedForm;            // otherwise: what the value must re-encode to
};

Expected expectDecoding(const CodedType& type, const boost::json::value& document);

std::string describe(const ExpectedFailure& failure);

}  // namespace telvor::fuzz
