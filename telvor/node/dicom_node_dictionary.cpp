// The node's dictionary form: the settings store's long-standing flat keys.
#include <algorithm>
#include <array>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "telvor/node/detail/dictionary_reads.hpp"
#include "telvor/node/detail/key_set.hpp"
#include "telvor/node/detail/tls_keys.hpp"
#include "telvor/node/dicom_node.hpp"

namespace telvor {
namespace {

namespace key {
constexpr std::string_view aetitle = "AETitle";
constexpr std::string_view port = "Port";
constexpr std::string_view name = "Description";
constexpr std::string_view address = "Address";
constexpr std::string_view isDicomNode = "isDicomNode";
constexpr std::string_view transferSyntax = "transferSyntax";
constexpr std::string_view retrieveMode = "retrieveMode";
constexpr std::string_view queryRetrieve = "QR";
constexpr std::string_view send = "Send";
constexpr std::string_view activated = "Activated";
constexpr std::string_view wadoPort = "WADOPort";
constexpr std::string_view wadoTransferSyntax = "WADOTransferSyntax";
constexpr std::string_view wadoUrl = "WADOUrl";
constexpr std::string_view wadoPassword = "WADOPassword";
constexpr std::string_view wadoUsername = "WADOUsername";
constexpr std::string_view wadoHttps = "WADOhttps";
constexpr std::string_view isQueryable = "isQueryable";
constexpr std::string_view icon = "icon";
}  // namespace key

// The keys a node reads, found together.
enum class Read : std::size_t {
  aetitle, address, name, port, tls,  // the four TLS keys from here
  wadoPassword = tls + detail::kTlsKeys.size(), wadoPort, wadoTransferSyntax, wadoUrl, wadoUsername, wadoHttps,
  icon, isDicomNode, isQueryable, retrieveMode, transferSyntax, count
};
constexpr detail::KeySet<static_cast<std::size_t>(Read::count)> kReadKeys([] {
  std::array<std::string_view, static_cast<std::size_t>(Read::count)> keys{key::aetitle, key::address, key::name,
                                                                          key::port};
  std::copy(detail::kTlsKeys.begin(), detail::kTlsKeys.end(), keys.begin() + static_cast<std::size_t>(Read::tls));
  const std::array rest{key::wadoPassword, key::wadoPort,    key::wadoTransferSyntax, key::wadoUrl,
                        key::wadoUsername, key::wadoHttps,   key::icon,               key::isDicomNode,
                        key::isQueryable,  key::retrieveMode, key::transferSyntax};
  std::copy(rest.begin(), rest.end(), keys.begin() + static_cast<std::size_t>(Read::wadoPassword));
  return keys;
}());

// The keys every node's dictionary form holds: sixteen of its own and four of TLS.
constexpr std::size_t kAlwaysWritten = 20;

// What an absent WADO URL is written as; stored data has always had it.
constexpr std::string_view kAbsentWadoUrl = "wado";

PropertyValue text(std::string value) { return PropertyValue::text(std::move(value)); }

}  // namespace

DicomNode::DicomNode(const PropertyDictionary& d) : DicomNode() {
  using detail::readCode;
  using detail::readText;
  const auto found = kReadKeys.find(d);
  const auto at = [&found](Read read) { return found[static_cast<std::size_t>(read)]; };
  address = readText(at(Read::address));
  name = readText(at(Read::name));
  port = readText(at(Read::port));
  aetitle = readText(at(Read::aetitle));
  transferSyntax =
      readCode<TransferSyntax>(at(Read::transferSyntax)).value_or(TransferSyntax::EXS_LittleEndianExplicit);
  retrieveMode = readCode<RetrieveModeType>(at(Read::retrieveMode)).value_or(RetrieveModeType::cget);
  isDicomNode = at(Read::isDicomNode) != nullptr;
  isQueryable = detail::readString(at(Read::isQueryable)) != std::optional<std::string_view>("0");
  icon = readText(at(Read::icon));
  TlsSettings tls;
  detail::readTlsValues(std::span(found).subspan<static_cast<std::size_t>(Read::tls), detail::kTlsKeys.size()>(), tls);
  tlsSettings = tls;
  if (retrieveMode == RetrieveModeType::wado) {
    wadoSettings.port = detail::readInt(at(Read::wadoPort));
    wadoSettings.retrieveSyntax = readCode<SupportedWadoTransferSyntaxType>(at(Read::wadoTransferSyntax))
                                      .value_or(SupportedWadoTransferSyntaxType::explicitLittleEndian);
    wadoSettings.url = readText(at(Read::wadoUrl));
    wadoSettings.password = readText(at(Read::wadoPassword));
    wadoSettings.username = readText(at(Read::wadoUsername));
    wadoSettings.https = detail::readInt(at(Read::wadoHttps)) == 1;
  }
}

DictionaryForm DicomNode::toDictionary() const {
  if (!port || !aetitle || !address || !name) return std::nullopt;
  const auto number = [](auto code) { return PropertyValue::numberObject(rawValue(code)); };
  // Entries are moved in one by one: an initializer list would copy every key and text.
  PropertyDictionary d;
  d.reserve(kAlwaysWritten + (isQueryable == false ? 1 : 0) + (icon ? 1 : 0));
  const auto set = [&d](std::string_view key, PropertyValue value) { d.setValue(std::string(key), std::move(value)); };
  set(key::aetitle, text(*aetitle));
  set(key::port, text(*port));
  set(key::name, text(*name));
  set(key::address, text(*address));
  set(key::isDicomNode, PropertyValue::boolean(isDicomNode));
  set(key::transferSyntax, number(transferSyntax));
  set(key::retrieveMode, number(retrieveMode));
  set(key::queryRetrieve, PropertyValue::boolean(true));
  set(key::send, PropertyValue::boolean(true));
  set(key::activated, PropertyValue::boolean(true));
  set(key::wadoPort, PropertyValue::integer(wadoSettings.port.value_or(0)));
  set(key::wadoTransferSyntax, number(wadoSettings.retrieveSyntax));
  set(key::wadoUrl, text(wadoSettings.url.value_or(std::string(kAbsentWadoUrl))));
  set(key::wadoPassword, text(wadoSettings.password.value_or("")));
  set(key::wadoUsername, text(wadoSettings.username.value_or("")));
  set(key::wadoHttps, PropertyValue::integer(wadoSettings.https ? 1 : 0));
  detail::writeTlsKeys(tlsSettings ? &*tlsSettings : nullptr, d);
  if (isQueryable == false) set(key::isQueryable, text("0"));
  if (icon) set(key::icon, text(*icon));
  return d;
}

}  // namespace telvor
