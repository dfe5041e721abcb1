// The catalogue with Boost.JSON alone: the floor under the library's JSON backend.
#include <boost/json/monotonic_resource.hpp>
#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>
#include <boost/json/value.hpp>

#include <cstdint>
#include <stdexcept>

#include "catalogue.hpp"
#include "codecs.hpp"

namespace bench::direct {
namespace {

using boost::json::object;
using boost::json::value;

// The entry under the key unless it is missing or null.
const value* present(const object& o, std::string_view key) {
  const value* v = o.if_contains(key);
  return v != nullptr && !v->is_null() ? v : nullptr;
}

std::optional<std::string> optionalText(const object& o, std::string_view key) {
  if (const value* v = present(o, key)) return std::string(v->as_string());
  return std::nullopt;
}

template <class E>
E code(const object& o, std::string_view key) {
  if (auto e = telvor::fromRawValue<E>(o.at(key).as_int64())) return *e;
  throw std::invalid_argument("unknown code");
}

telvor::TlsSettings readTls(const object& o) {
  telvor::TlsSettings s;
  s.isEnabled = o.at("isEnabled").as_bool();
  s.securityProfile = code<telvor::TLSSecurityProfile>(o, "securityProfile");
  s.verifyPeerCertificate = o.at("verifyPeerCertificate").as_bool();
  s.authenticateWithCertificate = o.at("authenticateWithCertificate").as_bool();
  return s;
}

void readWado(const object& o, telvor::WadoSettings& w) {
  const value* port = present(o, "port");
  w.port = port ? std::optional<std::int64_t>(port->as_int64()) : std::nullopt;
  w.url = optionalText(o, "url");
  w.password = optionalText(o, "password");
  w.username = optionalText(o, "username");
  w.retrieveSyntax = code<telvor::SupportedWadoTransferSyntaxType>(o, "retrieveSyntax");
  w.https = o.at("https").as_bool();
}

telvor::DicomNode readNode(const object& o) {
  telvor::DicomNode n = blankNode();
  if (const value* id = present(o, "uniqueId")) {
    n.uniqueId = telvor::UUID::fromString(id->as_string());
    if (!n.uniqueId) throw std::invalid_argument("uniqueId is not a UUID");
  }
  n.aetitle = optionalText(o, "aetitle");
  n.name = optionalText(o, "name");
  n.address = optionalText(o, "address");
  n.port = optionalText(o, "port");
  n.transferSyntax = code<telvor::TransferSyntax>(o, "transferSyntax");
  n.retrieveMode = code<telvor::RetrieveModeType>(o, "retrieveMode");
  n.isDicomNode = o.at("isDicomNode").as_bool();
  const value* queryable = present(o, "isQueryable");
  n.isQueryable = queryable ? std::optional<bool>(queryable->as_bool()) : std::nullopt;
  readWado(o.at("wadoSettings").as_object(), n.wadoSettings);
  n.icon = optionalText(o, "icon");
  const value* tls = present(o, "tlsSettings");
  n.tlsSettings = tls ? std::optional<telvor::TlsSettings>(readTls(tls->as_object())) : std::nullopt;
  return n;
}

void writeNode(object& o, const telvor::DicomNode& n) {
  o.reserve(12);
  if (n.uniqueId) o.emplace("uniqueId", n.uniqueId->uuidString());
  if (n.aetitle) o.emplace("aetitle", *n.aetitle);
  if (n.name) o.emplace("name", *n.name);
  if (n.address) o.emplace("address", *n.address);
  if (n.port) o.emplace("port", *n.port);
  o.emplace("transferSyntax", telvor::rawValue(n.transferSyntax));
  o.emplace("retrieveMode", telvor::rawValue(n.retrieveMode));
  o.emplace("isDicomNode", n.isDicomNode);
  if (n.isQueryable) o.emplace("isQueryable", *n.isQueryable);
  auto& w = o.emplace("wadoSettings", boost::json::object_kind).first->value().get_object();
  const auto& wado = n.wadoSettings;
  w.reserve(6);
  if (wado.port) w.emplace("port", *wado.port);
  if (wado.url) w.emplace("url", *wado.url);
  if (wado.password) w.emplace("password", *wado.password);
  if (wado.username) w.emplace("username", *wado.username);
  w.emplace("retrieveSyntax", telvor::rawValue(wado.retrieveSyntax));
  w.emplace("https", wado.https);
  if (n.icon) o.emplace("icon", *n.icon);
  if (n.tlsSettings) {
    auto& t = o.emplace("tlsSettings", boost::json::object_kind).first->value().get_object();
    t.reserve(4);
    t.emplace("isEnabled", n.tlsSettings->isEnabled);
    t.emplace("securityProfile", telvor::rawValue(n.tlsSettings->securityProfile));
    t.emplace("verifyPeerCertificate", n.tlsSettings->verifyPeerCertificate);
    t.emplace("authenticateWithCertificate", n.tlsSettings->authenticateWithCertificate);
  }
}

}  // namespace

std::vector<telvor::DicomNode> decode(std::string_view text) {
  boost::json::monotonic_resource scratch;
  boost::json::parse_options options;
  options.max_depth = 64;
  const value document = boost::json::parse(text, &scratch, options);
  const auto& array = document.as_array();
  std::vector<telvor::DicomNode> nodes;
  nodes.reserve(array.size());
  for (const auto& element : array) nodes.push_back(readNode(element.as_object()));
  return nodes;
}

std::string encode(std::span<const telvor::DicomNode> nodes) {
  boost::json::monotonic_resource scratch;
  boost::json::array array(&scratch);
  array.reserve(nodes.size());
  for (const auto& node : nodes) writeNode(array.emplace_back(boost::json::object_kind).get_object(), node);
  return boost::json::serialize(array);
}

}  // namespace bench::direct
