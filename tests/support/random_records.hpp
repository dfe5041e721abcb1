// Random records for property-style tests: every enumeration code, absent and present
// optionals, empty, non-ASCII and decomposed texts (generated ones too), the extreme
// integers.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <utf8proc.h>

#include "telvor/node/dicom_node.hpp"
#include "telvor/status/dicom_node_status.hpp"

namespace telvor::testing_support {

class RecordGenerator {
 public:
  explicit RecordGenerator(std::uint64_t seed) : rng_(seed) {}

  bool coin() { return std::uniform_int_distribution<int>(0, 1)(rng_) == 1; }

  // Half the time a text from a pool of awkward ones, otherwise a generated text (see
  // generatedText).
  std::string text() {
    static const std::vector<std::string> pool = {
        "",        "ARCHIVE",          "pacs-01",        "10.0.0.5",  "::1",      "104",
        " padded ", "Caf\u00e9",        "Cafe\u0301",     "\u65e5\u672c", "\U0001F3E5", "quote\"back\\slash",
        "line\nbreak", "tab\there",   "https://pacs.example.org/wado?x=1&y=2", std::string("nul\0inside", 10),
        "\uFEFFbom",  "\uFFFF",  "\u1100\u1161\u11A8", "\uAC01", "e\u0323\u0301", "e\u0301\u0323"};
    return coin() ? pool[std::uniform_int_distribution<std::size_t>(0, pool.size() - 1)(rng_)] : generatedText();
  }

  // Up to 12 characters drawn from ASCII (controls and NUL included), Latin-1, combining
  // marks, Hangul syllables (which decompose), CJK, astral symbols and noncharacters:
  // always valid UTF-8, often not in any normal form.
  std::string generatedText() {
    static constexpr char32_t ranges[][2] = {{0x00, 0x7F},     {0xA0, 0xFF},       {0x300, 0x36F},
                                             {0xAC00, 0xD7A3}, {0x4E00, 0x9FFF},   {0x1F300, 0x1F5FF},
                                             {0xFFFE, 0xFFFF}, {0x10FFFE, 0x10FFFF}, {0x20, 0x7E}};
    std::string out;
    const int length = std::uniform_int_distribution<int>(0, 12)(rng_);
    for (int i = 0; i < length; ++i) {
      const auto& r = ranges[std::uniform_int_distribution<std::size_t>(0, std::size(ranges) - 1)(rng_)];
      utf8proc_uint8_t bytes[4];
      const auto c = static_cast<utf8proc_int32_t>(std::uniform_int_distribution<std::uint32_t>(r[0], r[1])(rng_));
      out.append(reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(utf8proc_encode_char(c, bytes)));
    }
    return out;
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

  WadoSettings wado() {
    WadoSettings w{PropertyDictionary{}};
    fillWado(w);
    return w;
  }

  DicomNodeStatus status() {
    switch (std::uniform_int_distribution<int>(0, 2)(rng_)) {
      case 0: return DicomNodeStatus::unknown(text());
      case 1: return DicomNodeStatus::inaccessible(text());
      default: return DicomNodeStatus::accessable();
    }
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
