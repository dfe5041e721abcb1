#include "dictionary_oracle.hpp"

#include <exception>
#include <optional>
#include <string>
#include <string_view>

#include "check.hpp"
#include "codes.hpp"
#include "utf8.hpp"
#include "telvor/coding/coding_error.hpp"
#include "telvor/coding/text.hpp"
#include "telvor/json/json.hpp"
#include "telvor/node/dicom_node.hpp"
#include "support/record_forms.hpp"

namespace telvor::fuzz {
namespace {

// The entry under `key`, found by walking the entries rather than by the dictionary's
// own lookup, so that the lookup is checked too.
const PropertyValue* entry(const PropertyDictionary& d, std::string_view key) {
  for (const auto& [k, v] : d)
    if (k == key) return &v;
  return nullptr;
}

std::optional<std::string> textAt(const PropertyDictionary& d, std::string_view key) {
  const PropertyValue* v = entry(d, key);
  if (v == nullptr || v->kind() != PropertyValue::Kind::text) return std::nullopt;
  return *v->textValue();
}

std::optional<std::int64_t> intAt(const PropertyDictionary& d, std::string_view key) {
  const PropertyValue* v = entry(d, key);
  if (v == nullptr) return std::nullopt;
  if (v->kind() == PropertyValue::Kind::integer) return v->integerValue();
  if (v->kind() == PropertyValue::Kind::numberObject) return v->numberObjectValue();
  return std::nullopt;
}

std::optional<bool> boolAt(const PropertyDictionary& d, std::string_view key) {
  const PropertyValue* v = entry(d, key);
  if (v == nullptr || v->kind() != PropertyValue::Kind::boolean) return std::nullopt;
  return v->booleanValue();
}

// The case with the integer's code, or `fallback`.
template <class E>
E codeAt(const PropertyDictionary& d, std::string_view key, bool (*isCode)(std::int64_t), E fallback) {
  const auto code = intAt(d, key);
  return code && isCode(*code) ? static_cast<E>(*code) : fallback;
}

using testing_support::afterDictionaryRoundTrip;
using testing_support::sameBytes;

std::string show(const std::optional<std::string>& t) { return t ? "\"" + *t + "\"" : "absent"; }

std::string show(const DicomNode& n) {
  std::string s = "aetitle " + show(n.aetitle) + ", name " + show(n.name) + ", address " + show(n.address) +
                  ", port " + show(n.port) + ", icon " + show(n.icon);
  s += ", transferSyntax " + std::to_string(rawValue(n.transferSyntax));
  s += ", retrieveMode " + std::to_string(rawValue(n.retrieveMode));
  s += ", isDicomNode " + std::to_string(n.isDicomNode);
  s += ", isQueryable " + (n.isQueryable ? std::to_string(*n.isQueryable) : std::string("absent"));
  s += ", wado {port " + (n.wadoSettings.port ? std::to_string(*n.wadoSettings.port) : std::string("absent")) +
       ", url " + show(n.wadoSettings.url) + ", password " + show(n.wadoSettings.password) + ", username " +
       show(n.wadoSettings.username) + ", syntax " + std::to_string(rawValue(n.wadoSettings.retrieveSyntax)) +
       ", https " + std::to_string(n.wadoSettings.https) + "}";
  if (n.tlsSettings)
    s += ", tls {" + std::to_string(n.tlsSettings->isEnabled) + " " +
         std::to_string(rawValue(n.tlsSettings->securityProfile)) + " " +
         std::to_string(n.tlsSettings->verifyPeerCertificate) + " " +
         std::to_string(n.tlsSettings->authenticateWithCertificate) + "}";
  return s;
}

// --- what the key tables say ------------------------------------------------------------

TlsSettings expectedTls(const PropertyDictionary& d) {
  TlsSettings s;
  s.isEnabled = boolAt(d, "TLSEnabled").value_or(false);
  s.securityProfile = codeAt(d, "TLSSecurityProfile", isTlsProfileCode, TLSSecurityProfile::profile1);
  s.verifyPeerCertificate = boolAt(d, "TLSVerifyPeerCertificate").value_or(false);
  s.authenticateWithCertificate = boolAt(d, "TLSAuthenticateWithCertificate").value_or(false);
  return s;
}

WadoSettings expectedWado(const PropertyDictionary& d) {
  WadoSettings s{PropertyDictionary{}};
  s.port = intAt(d, "port");
  s.url = textAt(d, "url");
  s.password = textAt(d, "password");
  s.username = textAt(d, "username");
  return s;
}

DicomNode expectedNode(const PropertyDictionary& d) {
  DicomNode n;
  n.aetitle = textAt(d, "AETitle");
  n.port = textAt(d, "Port");
  n.name = textAt(d, "Description");
  n.address = textAt(d, "Address");
  n.isDicomNode = entry(d, "isDicomNode") != nullptr;
  n.transferSyntax = codeAt(d, "transferSyntax", isTransferSyntaxCode, TransferSyntax::EXS_LittleEndianExplicit);
  n.retrieveMode = codeAt(d, "retrieveMode", isRetrieveModeCode, RetrieveModeType::cget);
  n.isQueryable = textAt(d, "isQueryable") != std::optional<std::string>("0");
  n.icon = textAt(d, "icon");
  n.tlsSettings = expectedTls(d);
  if (n.retrieveMode == RetrieveModeType::wado) {
    auto& w = n.wadoSettings;
    w.port = intAt(d, "WADOPort");
    w.retrieveSyntax = codeAt(d, "WADOTransferSyntax", isWadoSyntaxCode,
                              SupportedWadoTransferSyntaxType::explicitLittleEndian);
    w.url = textAt(d, "WADOUrl");
    w.password = textAt(d, "WADOPassword");
    w.username = textAt(d, "WADOUsername");
    w.https = intAt(d, "WADOhttps") == 1;
  }
  return n;
}

// --- the checks -------------------------------------------------------------------------

template <class T>
T readOrFail(const PropertyDictionary& d, const char* type) {
  try {
    return T(d);
  } catch (const std::exception& e) {
    fail("dictionary reading never throws", std::string(type) + ": " + e.what());
  }
}

void checkTypedReads(const PropertyDictionary& d, std::string_view key) {
  check(d.contains(key) == (entry(d, key) != nullptr), "contains() finds exactly the entries there are", key);
  check(d.readInt(key) == intAt(d, key), "readInt accepts integers and number objects only", key);
  check(d.readBool(key) == boolAt(d, key), "readBool accepts booleans only", key);
  if (const PropertyValue* v = entry(d, key); v && v->textValue())
    check(isValidUtf8(*v->textValue()) == validUtf8(*v->textValue()), "isValidUtf8 agrees with an independent check",
          *v->textValue());
  const auto text = d.readString(key);
  const auto expected = textAt(d, key);
  check(text.has_value() == expected.has_value() && (!text || *text == *expected), "readString accepts texts only",
        key);
}

void checkTls(const PropertyDictionary& d) {
  const auto s = readOrFail<TlsSettings>(d, "TlsSettings");
  check(s == expectedTls(d), "TlsSettings reads its four keys as the table says");
  const auto written = s.toDictionary();
  check(written && written->size() == 4, "TlsSettings writes exactly four keys");
  check(TlsSettings(*written) == s, "TlsSettings survives its dictionary form exactly");
  check(json::decode<TlsSettings>(json::encode(s)) == s, "TlsSettings survives its coded form exactly");
}

void checkWado(const PropertyDictionary& d) {
  const auto s = readOrFail<WadoSettings>(d, "WadoSettings");
  check(sameBytes(s, expectedWado(d)), "WadoSettings reads its four keys as the table says");
  const auto written = s.toDictionary();
  check(written && written->size() == 4, "WadoSettings writes exactly four keys");
  check(sameBytes(WadoSettings(*written), afterDictionaryRoundTrip(s)),
        "WadoSettings' dictionary form: absent texts come back empty, an absent port 0, syntax and https default");
}

// The first text of the node's coded form, in writing order, that JSON cannot hold.
std::optional<CodingPath> firstTextJsonRefuses(const DicomNode& n) {
  const auto key = [](std::initializer_list<std::string_view> keys) {
    CodingPath p;
    for (auto k : keys) p.push_back(CodingPathComponent::key(k));
    return p;
  };
  const std::pair<const std::optional<std::string>*, CodingPath> texts[] = {
      {&n.aetitle, key({"aetitle"})},
      {&n.name, key({"name"})},
      {&n.address, key({"address"})},
      {&n.port, key({"port"})},
      {&n.wadoSettings.url, key({"wadoSettings", "url"})},
      {&n.wadoSettings.password, key({"wadoSettings", "password"})},
      {&n.wadoSettings.username, key({"wadoSettings", "username"})},
      {&n.icon, key({"icon"})},
  };
  for (const auto& [text, path] : texts)
    if (*text && !isValidUtf8(**text)) return path;
  return std::nullopt;
}

void checkNodeCodedForm(const DicomNode& n) {
  const auto refused = firstTextJsonRefuses(n);
  try {
    const std::string text = json::encode(n);
    if (refused) fail("JSON refuses text that is not UTF-8", describe(*refused));
    check(sameBytes(json::decode<DicomNode>(text), n), "a node read from a dictionary survives JSON exactly", text);
  } catch (const EncodingError& e) {
    check(refused && e.codingPath() == *refused, "invalidValue stands at the first text that is not UTF-8", e.what());
  } catch (const std::exception& e) {
    fail("writing JSON raises only EncodingError", e.what());
  }
}

void checkNodeRoundTrip(const DicomNode& n) {
  const auto written = n.toDictionary();
  const bool complete = n.aetitle && n.name && n.address && n.port;
  check(written.has_value() == complete, "toDictionary() is absent exactly while an identity field is absent");
  if (!written) return;
  const std::size_t size = 20 + (n.isQueryable == false ? 1 : 0) + (n.icon ? 1 : 0);
  check(written->size() == size, "the dictionary form has 20 keys, plus isQueryable and icon when written");

  const auto back = readOrFail<DicomNode>(*written, "DicomNode");
  const DicomNode expected = afterDictionaryRoundTrip(n, back.uniqueId);
  check(back.uniqueId && back.uniqueId != n.uniqueId, "a node read back gets a new uniqueId");
  check(sameBytes(back, expected), "toDictionary() then reading obeys the documented asymmetries",
        "got " + show(back) + "\nexpected " + show(expected));

  // One pass normalises: what the read node writes reads back to the same dictionary.
  const auto again = back.toDictionary();
  check(again && DicomNode(*again).toDictionary() == again, "the dictionary form is stable after one pass");
}

void checkNode(const PropertyDictionary& d) {
  const auto n = readOrFail<DicomNode>(d, "DicomNode");
  DicomNode expected = expectedNode(d);
  check(n.uniqueId.has_value(), "a node read from a dictionary has a uniqueId");
  expected.uniqueId = n.uniqueId;
  check(sameBytes(n, expected), "DicomNode reads its keys as the table says",
        "got " + show(n) + "\nexpected " + show(expected));
  checkNodeCodedForm(n);
  checkNodeRoundTrip(n);
}

constexpr std::string_view kKnownKeys[] = {
    "AETitle",  "Port",     "Description", "Address",     "isDicomNode", "transferSyntax",
    "retrieveMode", "QR",   "Send",        "Activated",   "WADOPort",    "WADOTransferSyntax",
    "WADOUrl",  "WADOPassword", "WADOUsername", "WADOhttps", "TLSEnabled", "TLSSecurityProfile",
    "TLSVerifyPeerCertificate", "TLSAuthenticateWithCertificate", "isQueryable", "icon",
    "url",      "port",     "password",    "username",
};

}  // namespace

void checkDictionaryReading(const PropertyDictionary& d) {
  for (auto key : kKnownKeys) checkTypedReads(d, key);
  for (const auto& [key, value] : d) checkTypedReads(d, key);
  checkTls(d);
  checkWado(d);
  checkNode(d);
}

}  // namespace telvor::fuzz
