#include "telvor/qt/ctk_server_nodes.hpp"

#include <QByteArray>
#include <QVariantMap>
#include <array>
#include <boost/json.hpp>
#include <charconv>
#include <set>
#include <utility>
#include <vector>

#include "ini_settings_file.hpp"
#include "telvor/coding/text.hpp"
#include "telvor/peers/peer_names.hpp"

namespace telvor::qt {
namespace {

using peers::PeerFormatError;
using peers::PeerLoss;

// One entry of a stored node: CTK keeps texts and small integers.
struct Field {
  std::optional<std::string> text;
  std::optional<long long> number;

  std::string asText() const { return text ? *text : std::to_string(*number); }
  std::optional<long long> asNumber() const {
    if (number) return number;
    long long value = 0;
    const char* end = text->data() + text->size();
    const auto [ptr, error] = std::from_chars(text->data(), end, value);
    if (error != std::errc() || ptr != end || text->empty()) return std::nullopt;
    return value;
  }
  std::string shown() const { return text ? '"' + *text + '"' : std::to_string(*number); }
};
using Entries = std::vector<std::pair<std::string, Field>>;

enum class Role { name, aetitle, address, port, protocol, cget, queryable, unkept };

struct KeyRule {
  std::string_view key;
  Role role;
  std::string_view exported = {};  // unkept: the value an export writes (or CTK's default), not a loss
};

constexpr std::array<KeyRule, 18> kNewerKeys{{
    {"Name", Role::name},
    {"Called AETitle", Role::aetitle},
    {"AETitle", Role::aetitle},
    {"Address", Role::address},
    {"Port", Role::port},
    {"Retrieve Protocol", Role::protocol},
    {"Protocol", Role::protocol},
    {"QueryRetrieveCheckState", Role::queryable},
    {"Calling AETitle", Role::unkept, ""},
    {"Timeout", Role::unkept, "10"},
    {"Retrieve Proxy", Role::unkept, ""},
    {"Proxy", Role::unkept, ""},
    {"StorageCheckState", Role::unkept, "0"},
    {"TrustedCheckState", Role::unkept, "0"},
    {"Query/Retrieve", Role::unkept, ""},
    {"Storage", Role::unkept, ""},
    {"Trusted", Role::unkept, ""},
    {"Verification", Role::unkept, ""},
}};
constexpr std::array<KeyRule, 6> kClassicKeys{{
    {"Name", Role::name},
    {"AETitle", Role::aetitle},
    {"Address", Role::address},
    {"Port", Role::port},
    {"CGET", Role::cget},
    {"CheckState", Role::queryable},
}};

struct Layout {
  QString count, node;  // node: the prefix of "…/N"
  std::span<const KeyRule> keys;
};
const Layout kNewer{QStringLiteral("DICOM/ServerNodeCount"), QStringLiteral("DICOM/ServerNodes/"), kNewerKeys};
const Layout kClassic{QStringLiteral("ServerNodeCount"), QStringLiteral("ServerNodes/"), kClassicKeys};

Entries fromJson(const QByteArray& bytes, const std::string& place) {
  boost::json::error_code error;
  const boost::json::value json = boost::json::parse(std::string_view(bytes.constData(), bytes.size()), error);
  if (error) throw PeerFormatError(place, "not JSON (" + error.message() + ")");
  if (!json.is_object()) throw PeerFormatError(place, "not a JSON object");
  Entries entries;
  for (const auto& [key, value] : json.as_object()) {
    Field field;
    if (value.is_string()) field.text = std::string(value.as_string());
    else if (value.is_int64()) field.number = value.as_int64();
    else field.text = boost::json::serialize(value);
    entries.emplace_back(std::string(key), std::move(field));
  }
  return entries;
}

Entries fromMap(const QVariantMap& map) {
  Entries entries;
  for (auto it = map.begin(); it != map.end(); ++it) {
    Field field;
    switch (it.value().typeId()) {
      case QMetaType::Int:
      case QMetaType::LongLong:
      case QMetaType::UInt:
        field.number = it.value().toLongLong();
        break;
      default:
        field.text = it.value().toString().toStdString();
    }
    entries.emplace_back(it.key().toStdString(), std::move(field));
  }
  return entries;
}

// The stored node at `key`: a map, or JSON text (CTK stores a byte array; a plain text is taken too).
Entries entriesAt(detail::IniSettingsFile& file, const QString& key) {
  const std::string place = "key " + key.toStdString();
  if (!file.settings().contains(key)) throw PeerFormatError(place, "missing (the count names more nodes)");
  const QVariant value = file.settings().value(key);
  switch (value.typeId()) {
    case QMetaType::QVariantMap:
      return fromMap(value.toMap());
    case QMetaType::QByteArray:
    case QMetaType::QString:
      return fromJson(value.toByteArray(), place);
    default: {
      const QString why = file.firstMessage();
      throw PeerFormatError(place, "not a server node (JSON text in a byte array, or a map)" +
                                       (why.isEmpty() ? std::string() : "; Qt: " + why.toStdString()));
    }
  }
}

std::size_t countOf(detail::IniSettingsFile& file, const Layout& layout) {
  bool ok = false;
  const int count = file.settings().value(layout.count).toString().toInt(&ok);
  if (!ok || count < 0)
    throw PeerFormatError("key " + layout.count.toStdString(), "\"" + file.settings().value(layout.count).toString().toStdString() +
                                                                   "\" is not a number of nodes");
  return static_cast<std::size_t>(count);
}

std::string labelOf(const Entries& entries) {
  for (const char* key : {"Name", "Called AETitle", "AETitle"})
    for (const auto& [k, field] : entries)
      if (k == key) return field.asText();
  return {};
}

DicomNode readNode(const Entries& entries, const Layout& layout, std::size_t position, const std::string& place,
                   std::vector<PeerLoss>& losses) {
  const std::string label = labelOf(entries);
  DicomNode node;
  for (const auto& [key, field] : entries) {
    const KeyRule* rule = nullptr;
    for (const KeyRule& r : layout.keys)
      if (r.key == key) rule = &r;
    if (!rule) {
      losses.push_back({position, label, key, field.shown(), "not kept (no field for it)"});
      continue;
    }
    switch (rule->role) {
      case Role::name: node.name = field.asText(); break;
      case Role::aetitle: node.aetitle = field.asText(); break;
      case Role::address: node.address = field.asText(); break;
      case Role::port: node.port = field.asText(); break;
      case Role::protocol:
        if (field.text == "CGET") node.retrieveMode = RetrieveModeType::cget;
        else if (field.text == "CMOVE") node.retrieveMode = RetrieveModeType::cmove;
        else losses.push_back({position, label, key, field.shown(), "retrieveMode left at CGET"});
        break;
      case Role::cget:
        if (field.asNumber() == 2) node.retrieveMode = RetrieveModeType::cget;
        else if (field.asNumber() == 0) node.retrieveMode = RetrieveModeType::cmove;
        else losses.push_back({position, label, key, field.shown(), "retrieveMode left at CGET"});
        break;
      case Role::queryable:
        if (field.asNumber() == 2) node.isQueryable = true;
        else if (field.asNumber() == 0) node.isQueryable = false;
        else losses.push_back({position, label, key, field.shown(), "isQueryable left absent"});
        break;
      case Role::unkept:
        if (field.asText() != rule->exported)
          losses.push_back({position, label, key, field.shown(), "not kept (no field for it)"});
        break;
    }
  }
  if (!node.aetitle || node.aetitle->empty()) throw PeerFormatError(place, "no AE title");
  return node;
}

void readList(detail::IniSettingsFile& file, const Layout& layout, peers::PeerList& list) {
  std::set<std::string> names;
  const std::size_t count = countOf(file, layout);
  for (std::size_t i = 0; i < count; ++i) {
    const QString key = layout.node + QString::number(i);
    const std::string place = "key " + key.toStdString();
    const Entries entries = entriesAt(file, key);
    DicomNode node = readNode(entries, layout, i + 1, place, list.losses);
    if (node.name && !names.insert(*node.name).second) {
      list.losses.push_back({i + 1, *node.name, "node", "Name \"" + *node.name + "\" again",
                             "skipped (CTK keeps the first node of a name)"});
      continue;
    }
    list.nodes.push_back(std::move(node));
    list.sources.push_back(i + 1);
  }
}

std::string required(const std::optional<std::string>& text, const char* what, const std::string& place) {
  if (!text || text->empty()) throw PeerFormatError(place, std::string("no ") + what);
  if (!isValidUtf8(*text)) throw PeerFormatError(place, std::string("the ") + what + " is not UTF-8 text");
  return *text;
}

// The nodes as CTK's JSON values, and the losses of writing them.
std::vector<QByteArray> serverNodes(std::span<const DicomNode> nodes, std::vector<PeerLoss>& losses) {
  std::vector<QByteArray> values;
  peers::UniqueNames names;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const DicomNode& node = nodes[i];
    const std::string place = peers::nodePlace(i + 1, peers::labelOf(node));
    const std::string aetitle = required(node.aetitle, "AE title", place);
    const std::string address = required(node.address, "address", place);
    if (!node.port || !peers::portInRange(*node.port, 1, 65535))
      throw PeerFormatError(place, "port " + (node.port ? '"' + *node.port + '"' : std::string("absent")) +
                                       " is not a number in 1-65535");
    if (node.name && !isValidUtf8(*node.name)) throw PeerFormatError(place, "the name is not UTF-8 text");

    DicomNode carried = node;
    carried.name = names.claim(node.name && !node.name->empty() ? *node.name : aetitle);
    carried.retrieveMode = node.retrieveMode == RetrieveModeType::cmove ? RetrieveModeType::cmove : RetrieveModeType::cget;
    carried.isQueryable = node.isQueryable.value_or(true);
    carried.transferSyntax = DicomNode().transferSyntax;
    carried.isDicomNode = true;
    carried.wadoSettings = WadoSettings(PropertyDictionary{});
    carried.icon.reset();
    carried.tlsSettings = TlsSettings();
    peers::reportDifferences(node, carried, i + 1, losses);

    // CTK's keys, sorted as CTK writes them.
    boost::json::object json;
    json["Address"] = address;
    json["Called AETitle"] = aetitle;
    json["Name"] = *carried.name;
    json["Port"] = *node.port;
    json["QueryRetrieveCheckState"] = *carried.isQueryable ? 2 : 0;
    json["Retrieve Protocol"] = carried.retrieveMode == RetrieveModeType::cmove ? "CMOVE" : "CGET";
    json["Timeout"] = 10;
    const std::string text = boost::json::serialize(json);
    values.emplace_back(text.data(), static_cast<qsizetype>(text.size()));
  }
  return values;
}

}  // namespace

peers::PeerList importCtkServerNodes(std::string_view text) {
  detail::IniSettingsFile file(text);
  peers::PeerList list;
  const bool newer = file.settings().contains(kNewer.count);
  if (newer) readList(file, kNewer, list);
  else if (file.settings().contains(kClassic.count)) readList(file, kClassic, list);
  if (newer && file.settings().contains(kClassic.count)) {
    // An older CTK's list beside the newer one: the newer is what CTK reads now.
    const std::size_t count = countOf(file, kClassic);
    for (std::size_t i = 0; i < count; ++i) {
      const QVariantMap map = file.settings().value(kClassic.node + QString::number(i)).toMap();
      list.losses.push_back({list.nodes.size() + i + 1, map.value(QStringLiteral("Name")).toString().toStdString(), "node",
                             "classic ServerNodes/" + std::to_string(i),
                             "skipped (the DICOM/ServerNodes list is read)"});
    }
  }
  return list;
}

peers::PeerExport exportCtkServerNodes(std::span<const DicomNode> nodes) { return exportCtkServerNodes(nodes, {}); }

peers::PeerExport exportCtkServerNodes(std::span<const DicomNode> nodes, std::string_view existing) {
  peers::PeerExport out;
  const std::vector<QByteArray> values = serverNodes(nodes, out.losses);
  detail::IniSettingsFile file(existing);
  QSettings& settings = file.settings();
  settings.remove(QStringLiteral("DICOM/ServerNodes"));
  settings.setValue(kNewer.count, static_cast<int>(values.size()));
  for (std::size_t i = 0; i < values.size(); ++i) settings.setValue(kNewer.node + QString::number(i), values[i]);
  out.text = file.text();
  return out;
}

}  // namespace telvor::qt
