// Both JSON readers on one text: simdjson's (SimdjsonDocument, and json::decode, which
// uses it) must give what the Boost.JSON reader gives. Shared by the differential test and
// the fuzz target.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "telvor/coding/coding_error.hpp"
#include "telvor/json/json.hpp"
#include "telvor/json/simdjson_document.hpp"
#include "telvor/node/dicom_node.hpp"
#include "telvor/platform/uuid.hpp"
#if __has_include("telvor/status/dicom_node_status.hpp")
#include "telvor/status/dicom_node_status.hpp"
#define TELVOR_AGREEMENT_STATUS 1
#endif

namespace telvor::testing_support {

template <class T>
struct Outcome {
  std::optional<T> value;
  std::optional<DecodingError> error;
};

template <class T, class Read>
Outcome<T> outcomeOf(Read read) {
  try {
    return {read(), std::nullopt};
  } catch (const DecodingError& e) {
    return {std::nullopt, e};
  }
}

// Empty when the outcomes agree, else what differs. Messages must match, except where
// they describe a real number: the two parsers may round its last digit differently
// (json::decode never shows this: such errors come from the Boost.JSON reader).
template <class T>
std::string differenceOf(const Outcome<T>& got, const Outcome<T>& reference, bool exactMessages) {
  if (reference.value) {
    if (!got.value) return "refused (" + std::string(got.error->what()) + ") what Boost.JSON reads";
    return *got.value == *reference.value ? "" : "read another value";
  }
  if (got.value) return "read what Boost.JSON refuses (" + std::string(reference.error->what()) + ")";
  const std::string a = got.error->what(), b = reference.error->what();
  if (got.error->kind() != reference.error->kind() || got.error->codingPath() != reference.error->codingPath() ||
      ((exactMessages || b.find("the real number") == std::string::npos) && a != b))
    return "raised \"" + a + "\" where Boost.JSON raised \"" + b + "\"";
  return "";
}

// What differs when `text` is read as T by the two readers, or empty.
template <class T>
std::string disagreementAs(std::string_view text, std::string_view typeName) {
  const auto reference = outcomeOf<T>([&] { return json::decodeWithBoost<T>(text); });
  std::string difference;
  json::SimdjsonDocument document;
  // simdjson refuses integers beyond 64 bits, which Boost.JSON reads as real numbers; such
  // texts take json::decode's other way, checked below.
  // A value simdjson reads must be Boost.JSON's; an error of its own is not the last word,
  // since json::decode then reads the text again with Boost.JSON (checked below).
  if (document.parse(text))
    if (auto own = outcomeOf<T>([&] { return document.decode<T>(); }); own.value)
      difference = differenceOf(own, reference, false);
  if (difference.empty())
    if (auto d = differenceOf(outcomeOf<T>([&] { return json::decode<T>(text); }), reference, true); !d.empty())
      difference = "json::decode " + d;
  if (difference.empty()) {
    // Read in place, with the padding past the end left as it is.
    std::string padded(text);
    padded.reserve(text.size() + json::SimdjsonDocument::kPadding);
    if (auto d = differenceOf(outcomeOf<T>([&] { return json::decode<T>(padded, true); }), reference, true); !d.empty())
      difference = "json::decode in place " + d;
  }
  return difference.empty() ? "" : std::string(typeName) + ": " + difference;
}

// The first disagreement over the library's codable types, or empty.
inline std::string disagreement(std::string_view text) {
  struct Reader {
    std::string (*check)(std::string_view, std::string_view);
    std::string_view name;
  };
  const Reader readers[] = {
      {&disagreementAs<DicomNode>, "DicomNode"},
      {&disagreementAs<std::vector<DicomNode>>, "[DicomNode]"},
      {&disagreementAs<TlsSettings>, "TlsSettings"},
      {&disagreementAs<WadoSettings>, "WadoSettings"},
      {&disagreementAs<UUID>, "UUID"},
      {&disagreementAs<std::vector<UUID>>, "[UUID]"},
      {&disagreementAs<TransferSyntax>, "TransferSyntax"},
#ifdef TELVOR_AGREEMENT_STATUS
      {&disagreementAs<DicomNodeStatus>, "DicomNodeStatus"},
      {&disagreementAs<std::vector<DicomNodeStatus>>, "[DicomNodeStatus]"},
#endif
  };
  for (const auto& reader : readers)
    if (auto d = reader.check(text, reader.name); !d.empty()) return d;
  return "";
}

}  // namespace telvor::testing_support
