#include "catalogue.hpp"

#include <boost/json/array.hpp>
#include <boost/json/monotonic_resource.hpp>

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <random>
#include <string_view>

#include "telvor/json/json.hpp"

namespace bench {
namespace {

// std::mt19937_64's output is fixed by the standard; the distributions are not, so picks
// are made by plain remainders.
class Source {
 public:
  explicit Source(std::uint64_t seed) : rng_(seed) {}
  std::uint64_t below(std::uint64_t n) { return rng_() % n; }
  template <class T, std::size_t N>
  const T& pick(const std::array<T, N>& from) {
    return from[below(N)];
  }
  telvor::UUID uuid() {
    telvor::UUID::Bytes bytes;
    for (auto& b : bytes) b = static_cast<std::uint8_t>(rng_());
    bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x40);
    bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);
    return telvor::UUID(bytes);
  }

 private:
  std::mt19937_64 rng_;
};

constexpr std::array<std::string_view, 12> kSites = {
    "Radiology",   "Cardiology",  "Oncology",    "Emergency",     "Neurology",         "Orthopaedics",
    "Main archive", "Teaching PACS", "Research",  "Mammography",  "Kinderklinik Zürich", "Hôpital Nord"};
constexpr std::array<std::string_view, 8> kModalities = {"CT", "MR", "US", "CR", "PET-CT", "DX", "XA", "NM"};
constexpr std::array<std::string_view, 6> kDomains = {
    "hospital.example.org", "imaging.example.net", "pacs.example.com",
    "radiology.example.edu", "clinic.example.de",  "health.example.fr"};
constexpr std::array<std::string_view, 5> kPorts = {"104", "11112", "4242", "2762", "11113"};
constexpr std::array<std::string_view, 4> kWadoPaths = {"/dicom-web/wado", "/wado", "/dcm4chee-arc/aets/DCM4CHEE/wado",
                                                        "/orthanc/wado"};
constexpr std::array<std::string_view, 4> kIcons = {"server.rack", "externaldrive.connected.to.line.below",
                                                    "building.2", "desktopcomputer"};
constexpr std::array<telvor::TransferSyntax, 6> kSyntaxes = {
    telvor::TransferSyntax::EXS_LittleEndianExplicit, telvor::TransferSyntax::EXS_LittleEndianImplicit,
    telvor::TransferSyntax::EXS_JPEGProcess14SV1,     telvor::TransferSyntax::EXS_JPEG2000LosslessOnly,
    telvor::TransferSyntax::EXS_JPEGLSLossless,       telvor::TransferSyntax::EXS_DeflatedLittleEndianExplicit};

std::string number(std::uint64_t n, int width) {
  std::string digits = std::to_string(n);
  return std::string(static_cast<std::size_t>(width) - std::min<std::size_t>(digits.size(), width), '0') + digits;
}

telvor::DicomNode makeNode(Source& s, std::size_t i) {
  telvor::DicomNode node = blankNode();
  const std::string serial = number(i % 10000, 4);
  const std::string_view site = s.pick(kSites);
  const std::string_view domain = s.pick(kDomains);
  const std::string host = "pacs-" + serial + "." + std::string(domain);

  node.uniqueId = s.uuid();
  node.aetitle = (i % 3 == 0 ? "ARCHIVE_" : "MOD_") + serial;
  node.name = std::string(site) + " " + std::string(s.pick(kModalities)) + " " + std::to_string(1 + s.below(9));
  node.address = s.below(2) == 0 ? host : "10." + std::to_string(s.below(256)) + "." + std::to_string(s.below(256)) +
                                               "." + std::to_string(1 + s.below(254));
  node.port = std::string(s.pick(kPorts));
  node.transferSyntax = s.pick(kSyntaxes);
  node.retrieveMode = static_cast<telvor::RetrieveModeType>(i % 3);
  node.isDicomNode = true;
  node.isQueryable = i % 7 == 0 ? std::optional<bool>() : std::optional<bool>(s.below(5) != 0);
  if (node.retrieveMode == telvor::RetrieveModeType::wado) {
    auto& wado = node.wadoSettings;
    wado.https = s.below(4) != 0;
    wado.port = wado.https ? 443 : 8080;
    wado.url = std::string(wado.https ? "https://" : "http://") + host + std::string(s.pick(kWadoPaths));
    wado.username = "viewer" + number(s.below(100), 2);
    wado.password = "s3cret-" + number(s.below(1000000), 6);
    wado.retrieveSyntax = s.below(2) == 0 ? telvor::SupportedWadoTransferSyntaxType::explicitLittleEndian
                                          : telvor::SupportedWadoTransferSyntaxType::jpeg2000Lossless;
  }
  if (s.below(4) == 0) node.icon = std::string(s.pick(kIcons));
  telvor::TlsSettings tls;
  if (i % 2 == 0) {
    tls.isEnabled = true;
    tls.securityProfile = static_cast<telvor::TLSSecurityProfile>(1 + s.below(5));
    tls.verifyPeerCertificate = true;
    tls.authenticateWithCertificate = s.below(2) == 0;
  }
  node.tlsSettings = tls;
  return node;
}

std::unique_ptr<Catalogue> build(std::size_t count) {
  auto c = std::make_unique<Catalogue>();
  Source source(0x7e1a0 + count);
  c->nodes.reserve(count);
  for (std::size_t i = 0; i < count; ++i) c->nodes.push_back(makeNode(source, i));

  boost::json::monotonic_resource scratch;
  boost::json::value document(&scratch);
  auto& array = document.emplace_array();
  for (const auto& node : c->nodes) array.push_back(telvor::json::toDocument(node, &scratch));
  c->json = telvor::json::serialize(document);
  return c;
}

}  // namespace

const telvor::DicomNode& blankNode() {
  static const telvor::DicomNode blank = [] {
    telvor::DicomNode node;
    node.uniqueId.reset();
    return node;
  }();
  return blank;
}

const Catalogue& catalogue(std::size_t count) {
  static std::map<std::size_t, std::unique_ptr<Catalogue>> built;
  auto& slot = built[count];
  if (!slot) slot = build(count);
  return *slot;
}

}  // namespace bench
