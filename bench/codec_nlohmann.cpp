// The catalogue as an application developer would code it by hand with nlohmann::json.
#include <nlohmann/json.hpp>

#include <cstdint>
#include <stdexcept>

#include "catalogue.hpp"
#include "codecs.hpp"

namespace telvor {
namespace {

template <class J>
concept Json = nlohmann::detail::is_basic_json<J>::value;

template <Json J, class T>
std::optional<T> optionalField(const J& j, const char* key) {
  const auto it = j.find(key);
  if (it == j.end() || it->is_null()) return std::nullopt;
  return it->template get<T>();
}

template <class E, Json J>
E codeField(const J& j, const char* key) {
  if (auto value = fromRawValue<E>(j.at(key).template get<std::int64_t>())) return *value;
  throw std::invalid_argument(std::string("unknown code under ") + key);
}

}  // namespace

// Found by nlohmann::json through argument-dependent lookup.
template <Json J>
void to_json(J& j, const TlsSettings& s) {
  j = J::object();
  j["isEnabled"] = s.isEnabled;
  j["securityProfile"] = rawValue(s.securityProfile);
  j["verifyPeerCertificate"] = s.verifyPeerCertificate;
  j["authenticateWithCertificate"] = s.authenticateWithCertificate;
}

template <Json J>
void from_json(const J& j, TlsSettings& s) {
  s.isEnabled = j.at("isEnabled").template get<bool>();
  s.securityProfile = codeField<TLSSecurityProfile>(j, "securityProfile");
  s.verifyPeerCertificate = j.at("verifyPeerCertificate").template get<bool>();
  s.authenticateWithCertificate = j.at("authenticateWithCertificate").template get<bool>();
}

template <Json J>
void to_json(J& j, const WadoSettings& w) {
  j = J::object();
  if (w.port) j["port"] = *w.port;
  if (w.url) j["url"] = *w.url;
  if (w.password) j["password"] = *w.password;
  if (w.username) j["username"] = *w.username;
  j["retrieveSyntax"] = rawValue(w.retrieveSyntax);
  j["https"] = w.https;
}

template <Json J>
void from_json(const J& j, WadoSettings& w) {
  w.port = optionalField<J, std::int64_t>(j, "port");
  w.url = optionalField<J, std::string>(j, "url");
  w.password = optionalField<J, std::string>(j, "password");
  w.username = optionalField<J, std::string>(j, "username");
  w.retrieveSyntax = codeField<SupportedWadoTransferSyntaxType>(j, "retrieveSyntax");
  w.https = j.at("https").template get<bool>();
}

template <Json J>
void to_json(J& j, const DicomNode& n) {
  j = J::object();
  if (n.uniqueId) j["uniqueId"] = n.uniqueId->uuidString();
  if (n.aetitle) j["aetitle"] = *n.aetitle;
  if (n.name) j["name"] = *n.name;
  if (n.address) j["address"] = *n.address;
  if (n.port) j["port"] = *n.port;
  j["transferSyntax"] = rawValue(n.transferSyntax);
  j["retrieveMode"] = rawValue(n.retrieveMode);
  j["isDicomNode"] = n.isDicomNode;
  if (n.isQueryable) j["isQueryable"] = *n.isQueryable;
  j["wadoSettings"] = n.wadoSettings;
  if (n.icon) j["icon"] = *n.icon;
  if (n.tlsSettings) j["tlsSettings"] = *n.tlsSettings;
}

template <Json J>
void from_json(const J& j, DicomNode& n) {
  n.uniqueId.reset();
  if (auto text = optionalField<J, std::string>(j, "uniqueId")) {
    n.uniqueId = UUID::fromString(*text);
    if (!n.uniqueId) throw std::invalid_argument("uniqueId is not a UUID");
  }
  n.aetitle = optionalField<J, std::string>(j, "aetitle");
  n.name = optionalField<J, std::string>(j, "name");
  n.address = optionalField<J, std::string>(j, "address");
  n.port = optionalField<J, std::string>(j, "port");
  n.transferSyntax = codeField<TransferSyntax>(j, "transferSyntax");
  n.retrieveMode = codeField<RetrieveModeType>(j, "retrieveMode");
  n.isDicomNode = j.at("isDicomNode").template get<bool>();
  n.isQueryable = optionalField<J, bool>(j, "isQueryable");
  from_json(j.at("wadoSettings"), n.wadoSettings);
  n.icon = optionalField<J, std::string>(j, "icon");
  n.tlsSettings = optionalField<J, TlsSettings>(j, "tlsSettings");
}

}  // namespace telvor

namespace bench {
namespace {

template <class J>
std::vector<telvor::DicomNode> decodeWith(std::string_view text) {
  const auto document = J::parse(text);
  std::vector<telvor::DicomNode> nodes;
  nodes.reserve(document.size());
  for (const auto& element : document) {
    telvor::DicomNode node = blankNode();
    element.get_to(node);
    nodes.push_back(std::move(node));
  }
  return nodes;
}

template <class J>
std::string encodeWith(std::span<const telvor::DicomNode> nodes) {
  auto document = J::array();
  for (const auto& node : nodes) document.push_back(node);
  return document.dump();
}

}  // namespace

namespace nlohmann_json {
std::vector<telvor::DicomNode> decode(std::string_view text) { return decodeWith<nlohmann::json>(text); }
std::string encode(std::span<const telvor::DicomNode> nodes) { return encodeWith<nlohmann::json>(nodes); }
}  // namespace nlohmann_json

namespace nlohmann_ordered {
std::vector<telvor::DicomNode> decode(std::string_view text) { return decodeWith<nlohmann::ordered_json>(text); }
std::string encode(std::span<const telvor::DicomNode> nodes) { return encodeWith<nlohmann::ordered_json>(nodes); }
}  // namespace nlohmann_ordered

}  // namespace bench
