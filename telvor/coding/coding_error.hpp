// The errors of the keyed coded forms.
//
// Decoding raises `DecodingError` (four cases, each with a `Context`); encoding raises
// `EncodingError` when a format cannot hold a value. The coded forms never catch, wrap or
// replace an error: whatever the first failing operation raised reaches the caller.
//
//   try {
//     auto node = telvor::json::decode<telvor::DicomNode>(text);
//   } catch (const telvor::DecodingError& e) {
//     std::cerr << e.what();   // "keyNotFound at $.wadoSettings: No value associated with key \"https\"."
//   }
//
// Both derive from `CodingError`, so a caller that only reports can catch one type.
#pragma once

#include <exception>
#include <string>
#include <string_view>

#include "telvor/coding/coding_path.hpp"
#include "telvor/telvor_export.hpp"

namespace telvor {

// Where an error arose and what went wrong there.
struct TELVOR_API CodingErrorContext {
  CodingPath codingPath;           // the position of the failing operation, outermost first
  std::string debugDescription;    // text for people
  std::exception_ptr underlyingError;  // what caused this error; null in every error the
                                       // library or its formats raise themselves
};

// Common base of DecodingError and EncodingError.
class TELVOR_API CodingError : public std::exception {
 public:
  const CodingErrorContext& context() const noexcept { return context_; }
  const CodingPath& codingPath() const noexcept { return context_.codingPath; }
  const std::string& debugDescription() const noexcept { return context_.debugDescription; }
  // The case's name: "typeMismatch", "valueNotFound", "keyNotFound", "dataCorrupted" or
  // "invalidValue".
  virtual std::string_view kindName() const noexcept = 0;
  // "<kind> at <path>: <description>", with the path rendered by describe().
  const char* what() const noexcept override { return message_.c_str(); }

 protected:
  CodingError(std::string_view kind, CodingErrorContext context);

 private:
  CodingErrorContext context_;
  std::string message_;
};

// The error a decoder or a coded form's reader raises.
class TELVOR_API DecodingError final : public CodingError {
 public:
  enum class Kind { typeMismatch, valueNotFound, keyNotFound, dataCorrupted };

  // The entry exists but holds another kind of value than `expectedType`.
  static DecodingError typeMismatch(std::string expectedType, CodingErrorContext context);
  // The entry is null where a value of `expectedType` is required.
  static DecodingError valueNotFound(std::string expectedType, CodingErrorContext context);
  // A required key has no entry; the context's path is the container's.
  static DecodingError keyNotFound(CodingPathComponent key, CodingErrorContext context);
  // The entry has the right kind but cannot be used (an unknown code, a malformed UUID,
  // text that is not the format at all).
  static DecodingError dataCorrupted(CodingErrorContext context);

  Kind kind() const noexcept { return kind_; }
  std::string_view kindName() const noexcept override;
  // The expected type's name for typeMismatch and valueNotFound; empty otherwise.
  const std::string& expectedType() const noexcept { return expectedType_; }
  // The missing key for keyNotFound; empty otherwise.
  const CodingPathComponent& key() const noexcept { return key_; }

 private:
  DecodingError(Kind kind, std::string expectedType, CodingPathComponent key, CodingErrorContext context);

  Kind kind_;
  std::string expectedType_;
  CodingPathComponent key_;
};

// The error an encoder raises for a value its format cannot hold.
class TELVOR_API EncodingError final : public CodingError {
 public:
  enum class Kind { invalidValue };

  // `valueType` names the refused value's type ("String").
  static EncodingError invalidValue(std::string valueType, CodingErrorContext context);

  Kind kind() const noexcept { return Kind::invalidValue; }
  std::string_view kindName() const noexcept override { return "invalidValue"; }
  const std::string& valueType() const noexcept { return valueType_; }

 private:
  EncodingError(std::string valueType, CodingErrorContext context);
  std::string valueType_;
};

}  // namespace telvor
