// JSON bytes to every codable type of the library.
//
// Each input is parsed once and then read as every type. The library must either give
// the value the coded form's key table says, which re-encodes to the same coded form and
// decodes again to an equal value, or raise its own DecodingError with the kind and path
// the table says. Anything else (a foreign exception, a crash, a leak, undefined
// behaviour, a wrong value) aborts.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "support/check.hpp"
#include "support/json_oracle.hpp"
#include "telvor/coding/coding_error.hpp"
#include "telvor/json/json.hpp"
#include "telvor/node/dicom_node.hpp"
#include "telvor/platform/uuid.hpp"
#if __has_include("telvor/status/dicom_node_status.hpp")
#include "telvor/status/dicom_node_status.hpp"
#define TELVOR_FUZZ_STATUS 1
#endif

namespace telvor::fuzz {
namespace {

std::string what(const DecodingError& e) { return e.what(); }

void checkError(const DecodingError& e, const ExpectedFailure& expected, std::string_view type) {
  const std::string detail = std::string(type) + ": expected " + describe(expected) + ", got " + what(e);
  check(e.kind() == expected.kind && e.codingPath() == expected.path, "the error's kind and path", detail);
  check(expected.kind != DecodingError::Kind::keyNotFound ||
            e.key() == CodingPathComponent::key(expected.missingKey),
        "keyNotFound names the missing key", detail);
  check(!e.context().underlyingError, "errors the library raises carry no underlying error", detail);
  check(what(e) == std::string(e.kindName()) + " at " + telvor::describe(e.codingPath()) + ": " +
                       e.debugDescription(),
        "what() is \"<kind> at <path>: <description>\"", detail);
}

template <class T>
void readAs(const boost::json::value& document, const CodedType& type) {
  const Expected expected = expectDecoding(type, document);
  try {
    const T value = json::fromDocument<T>(document);
    check(!expected.failure, "decoding fails where the key table says it must",
          std::string(type.name) + ": expected " + (expected.failure ? describe(*expected.failure) : ""));
    check(value == value, "equality is reflexive", type.name);
    // Texts from parsed JSON are valid UTF-8, so writing cannot fail here.
    const std::string text = json::encode(value);
    check(text == json::serialize(expected.codedForm), "the decoded value re-encodes to the input's coded form",
          std::string(type.name) + ": " + text + " vs " + json::serialize(expected.codedForm));
    const T again = json::decode<T>(text);
    check(again == value, "decode(encode(value)) == value", std::string(type.name) + ": " + text);
    check(json::encode(again) == text, "encoding is stable", text);
    check(json::decode<T>(json::encode(value, {.indent = 2})) == value, "indented output reads back the same", text);
  } catch (const DecodingError& e) {
    if (!expected.failure) fail("decoding succeeds where the key table says it must", std::string(type.name) + ": " + what(e));
    checkError(e, *expected.failure, type.name);
  } catch (const std::exception& e) {
    fail("only DecodingError leaves the library", std::string(type.name) + ": " + e.what());
  }
}

}  // namespace
}  // namespace telvor::fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace telvor;
  using namespace telvor::fuzz;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  boost::json::value document;
  try {
    document = json::parse(text);
  } catch (const DecodingError& e) {
    check(e.kind() == DecodingError::Kind::dataCorrupted && e.codingPath().empty(),
          "text that is not JSON is dataCorrupted at the top", e.what());
    // json::decode goes through the same parse; it must refuse the text the same way.
    try {
      json::decode<TlsSettings>(text);
      fail("json::decode accepts what parse refuses");
    } catch (const DecodingError& again) {
      check(std::string(again.what()) == e.what(), "json::decode refuses as parse does", again.what());
    }
    return 0;
  } catch (const std::exception& e) {
    fail("only DecodingError leaves json::parse", e.what());
  }

  readAs<DicomNode>(document, coded::dicomNode);
  readAs<TlsSettings>(document, coded::tlsSettings);
  readAs<WadoSettings>(document, coded::wadoSettings);
  readAs<UUID>(document, coded::uuid);
  readAs<TransferSyntax>(document, coded::transferSyntax);
  readAs<RetrieveModeType>(document, coded::retrieveMode);
  readAs<TLSSecurityProfile>(document, coded::tlsProfile);
  readAs<SupportedWadoTransferSyntaxType>(document, coded::wadoSyntax);
#ifdef TELVOR_FUZZ_STATUS
  readAs<DicomNodeStatus>(document, coded::dicomNodeStatus);
#endif
  return 0;
}
