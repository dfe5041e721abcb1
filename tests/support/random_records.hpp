// Random records for property-style tests: every enumeration code, absent and present
// optionals, empty, non-ASCII and decomposed texts, the extreme integers.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "telvor/node/dicom_node.hpp"

namespace telvor::testing_support {

class RecordGenerator {
 public:
  explicit RecordGenerator(std::uint64_t seed) : rng_(seed) {}

  bool coin() { return std::uniform_int_distribution<int>(0, 1)(rng_) == 1; }

  std::string text() {
    static const std::vector<std::string> pool = {
        "",        "ARCHIVE",          "pacs-01",        "10.0.0.5",  "::1",      "104",
        " padded ", "Caf\u00e9",        "Cafe\u0301",     "\u65e5\u672c", "\U0001F3E5", "quote\"back\\slash",
        "line\nbreak", "tab\there",   "https://pacs.example.org/wado?x=1&y=2"};
    return pool[std::uniform_int_distribution<std::size_t>(0, pool.size() - 1)(rng_)];
  }

  std::optional<std::string> maybeText() { return coin() ? std::optional<std::string>(text()) : std::nullopt; }

  std::int64_t integer() {
    static const std::int64_t edges[] = {0, 1, -1, 104, 65535, std::numeric_limits<std::int64_t>::min(),
                                         std::numeric_limits<std::int64_t>::max()};
    return coin() ? edges[std::uniform_int_distribution<std::size_t>(0, std::size(edges) - 1)(rng_)]
                  : std::uniform_int_distribution<std::int64_t>()(rng_);
  }

  template <EnumWithAllCases E>
  E pick() {
    const auto cases = allCases<E>();
    return cases[std::uniform_int_distribution<std::size_t>(0, cases.size() - 1)(rng_)];
  }

  TlsSettings tls() {
    TlsSettings s;
    s.isEnabled = coin();
    s.securityProfile = pick<TLSSecurityProfile>();
    s.verifyPeerCertificate = coin();
    s.authenticateWithCertificate = coin();
    return s;
  }

  void fillWado(WadoSettings& w) {
    w.port = coin() ? std::optional<std::int64_t>(integer()) : std::nullopt;
    w.url = maybeText();
    w.password = maybeText();
    w.username = maybeText();
    w.retrieveSyntax = pick<SupportedWadoTransferSyntaxType>();
    w.https = coin();
  }

  DicomNode node() {
    DicomNode n;
    if (!coin()) n.uniqueId.reset();
    n.aetitle = maybeText();
    n.name = maybeText();
    n.address = maybeText();
    n.port = coin() ? std::optional<std::string>(std::to_string(integer())) : maybeText();
    n.transferSyntax = pick<TransferSyntax>();
    n.retrieveMode = pick<RetrieveModeType>();
    n.isDicomNode = coin();
    n.isQueryable = coin() ? std::optional<bool>(coin()) : std::nullopt;
    fillWado(n.wadoSettings);
    n.icon = maybeText();
    n.tlsSettings = coin() ? std::optional<TlsSettings>(tls()) : std::nullopt;
    return n;
  }

 private:
  std::mt19937_64 rng_;
};

}  // namespace telvor::testing_support
