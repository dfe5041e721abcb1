// The catalogue read with simdjson's DOM alone: the floor under the library's decoder.
// Lookups are simdjson's own (the first entry under a key; the library takes the last).
#include <simdjson.h>

#include <stdexcept>

#include "catalogue.hpp"
#include "codecs.hpp"

namespace bench::simdjson_direct {
namespace {

using simdjson::dom::element;
using simdjson::dom::object;

// The entry under the key unless it is missing or null.
std::optional<element> present(const object& o, std::string_view key) {
  element e;
  if (o.at_key(key).get(e) != simdjson::SUCCESS || e.is_null()) return std::nullopt;
  return e;
}

std::optional<std::string> optionalText(const object& o, std::string_view key) {
  if (const auto e = present(o, key)) return std::string(std::string_view(*e));
  return std::nullopt;
}

template <class E>
E code(const object& o, std::string_view key) {
  if (auto e = telvor::fromRawValue<E>(std::int64_t(o.at_key(key)))) return *e;
  throw std::invalid_argument("unknown code");
}

void readWado(const object& o, telvor::WadoSettings& w) {
  const auto port = present(o, "port");
  w.port = port ? std::optional<std::int64_t>(std::int64_t(*port)) : std::nullopt;
  w.url = optionalText(o, "url");
  w.password = optionalText(o, "password");
  w.username = optionalText(o, "username");
  w.retrieveSyntax = code<telvor::SupportedWadoTransferSyntaxType>(o, "retrieveSyntax");
  w.https = bool(o.at_key("https"));
}

telvor::DicomNode readNode(const object& o) {
  telvor::DicomNode n = blankNode();
  if (const auto id = present(o, "uniqueId")) {
    n.uniqueId = telvor::UUID::fromString(std::string_view(*id));
    if (!n.uniqueId) throw std::invalid_argument("uniqueId is not a UUID");
  }
  n.aetitle = optionalText(o, "aetitle");
  n.name = optionalText(o, "name");
  n.address = optionalText(o, "address");
  n.port = optionalText(o, "port");
  n.transferSyntax = code<telvor::TransferSyntax>(o, "transferSyntax");
  n.retrieveMode = code<telvor::RetrieveModeType>(o, "retrieveMode");
  n.isDicomNode = bool(o.at_key("isDicomNode"));
  const auto queryable = present(o, "isQueryable");
  n.isQueryable = queryable ? std::optional<bool>(bool(*queryable)) : std::nullopt;
  readWado(object(o.at_key("wadoSettings")), n.wadoSettings);
  n.icon = optionalText(o, "icon");
  if (const auto tls = present(o, "tlsSettings")) {
    const object t(*tls);
    telvor::TlsSettings s;
    s.isEnabled = bool(t.at_key("isEnabled"));
    s.securityProfile = code<telvor::TLSSecurityProfile>(t, "securityProfile");
    s.verifyPeerCertificate = bool(t.at_key("verifyPeerCertificate"));
    s.authenticateWithCertificate = bool(t.at_key("authenticateWithCertificate"));
    n.tlsSettings = s;
  }
  return n;
}

}  // namespace

std::vector<telvor::DicomNode> decode(std::string_view text) {
  // One parser for every call, as the library keeps one per thread.
  static simdjson::dom::parser parser;
  const simdjson::dom::array array(parser.parse(text.data(), text.size(), true));
  std::vector<telvor::DicomNode> nodes;
  nodes.reserve(array.size());
  for (const element e : array) nodes.push_back(readNode(object(e)));
  return nodes;
}

}  // namespace bench::simdjson_direct
