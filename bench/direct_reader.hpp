// A node read field by field from one JSON library's document, by hand: the same checks
// as the coded form (kinds, known codes, UUID text). `Access` says how to look at that
// library's values: Object, Value, present(object, key) (the entry unless missing or
// null), at(object, key) (the entry, throwing when missing), and text, integer, boolean
// and asObject of a value (each throwing for another kind).
#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "catalogue.hpp"
#include "telvor/node/dicom_node.hpp"

namespace bench {

template <class Access>
struct DirectReader {
  using Object = typename Access::Object;

  static std::optional<std::string> optionalText(const Object& o, std::string_view key) {
    if (const auto v = Access::present(o, key)) return std::string(Access::text(*v));
    return std::nullopt;
  }

  template <class E>
  static E code(const Object& o, std::string_view key) {
    if (auto e = telvor::fromRawValue<E>(Access::integer(Access::at(o, key)))) return *e;
    throw std::invalid_argument("unknown code");
  }

  static bool flag(const Object& o, std::string_view key) { return Access::boolean(Access::at(o, key)); }

  static telvor::TlsSettings readTls(const Object& o) {
    telvor::TlsSettings s;
    s.isEnabled = flag(o, "isEnabled");
    s.securityProfile = code<telvor::TLSSecurityProfile>(o, "securityProfile");
    s.verifyPeerCertificate = flag(o, "verifyPeerCertificate");
    s.authenticateWithCertificate = flag(o, "authenticateWithCertificate");
    return s;
  }

  static void readWado(const Object& o, telvor::WadoSettings& w) {
    const auto port = Access::present(o, "port");
    w.port = port ? std::optional<std::int64_t>(Access::integer(*port)) : std::nullopt;
    w.url = optionalText(o, "url");
    w.password = optionalText(o, "password");
    w.username = optionalText(o, "username");
    w.retrieveSyntax = code<telvor::SupportedWadoTransferSyntaxType>(o, "retrieveSyntax");
    w.https = flag(o, "https");
  }

  static telvor::DicomNode readNode(const Object& o) {
    telvor::DicomNode n = blankNode();
    if (const auto id = Access::present(o, "uniqueId")) {
      n.uniqueId = telvor::UUID::fromString(Access::text(*id));
      if (!n.uniqueId) throw std::invalid_argument("uniqueId is not a UUID");
    }
    n.aetitle = optionalText(o, "aetitle");
    n.name = optionalText(o, "name");
    n.address = optionalText(o, "address");
    n.port = optionalText(o, "port");
    n.transferSyntax = code<telvor::TransferSyntax>(o, "transferSyntax");
    n.retrieveMode = code<telvor::RetrieveModeType>(o, "retrieveMode");
    n.isDicomNode = flag(o, "isDicomNode");
    const auto queryable = Access::present(o, "isQueryable");
    n.isQueryable = queryable ? std::optional<bool>(Access::boolean(*queryable)) : std::nullopt;
    readWado(Access::asObject(Access::at(o, "wadoSettings")), n.wadoSettings);
    n.icon = optionalText(o, "icon");
    const auto tls = Access::present(o, "tlsSettings");
    n.tlsSettings = tls ? std::optional<telvor::TlsSettings>(readTls(Access::asObject(*tls))) : std::nullopt;
    return n;
  }
};

}  // namespace bench
