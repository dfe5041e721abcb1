#include <algorithm>
#include <array>
#include <boost/json.hpp>
#include <string>

#include "detail/json_comments.hpp"
#include "telvor/peers/orthanc.hpp"
#include "telvor/peers/peer_names.hpp"

namespace telvor::peers {
namespace {

namespace json = boost::json;

// Orthanc's permissions: booleans, true by default, with no field in the record.
constexpr std::array<std::string_view, 10> kPermissions{
    "AllowEcho",  "AllowFind",  "AllowFindWorklist", "AllowGet",       "AllowMove",
    "AllowStore", "AllowNAction", "AllowEventReport", "AllowTranscoding", "AllowStorageCommitment"};

// Comments are blanked first, by Orthanc's rules: Boost.JSON's own comment reading does not
// take the `**/` that closes every block comment of Orthanc's shipped configuration.
json::value parseLikeOrthanc(std::string_view text) {
  const std::string plain = detail::blankComments(text);
  json::stream_parser parser;
  json::error_code ec;
  const std::size_t used = parser.write_some(plain.data(), plain.size(), ec);
  if (!ec) parser.finish(ec);
  if (ec) throw PeerFormatError(lineAndColumn(text, used), "not JSON as Orthanc reads it: " + ec.message());
  return parser.release();
}

struct ModalityReader {
  std::size_t position;
  std::string name;
  PeerList& list;

  [[noreturn]] void fail(const std::string& message) const {
    throw PeerFormatError("modality " + std::to_string(position) + " \"" + name + '"', message);
  }
  void lose(std::string field, std::string lost, std::string chosen) const {
    list.losses.push_back({position, name, std::move(field), std::move(lost), std::move(chosen)});
  }

  std::string text(const json::value& v, std::string_view key) const {
    if (!v.is_string()) fail(std::string(key) + " must be a string");
    return std::string(v.get_string());
  }

  // A number, or a string of digits (carried as written), within Orthanc's 1-65534.
  std::string port(const json::value& v) const {
    if (v.is_string()) {
      const std::string digits(v.get_string());
      if (!portInRange(digits, 1, 65534)) fail("Port \"" + digits + "\" is not a port number in 1-65534");
      return digits;
    }
    if (!v.is_int64() && !v.is_uint64()) fail("Port must be a whole number or a string of digits");
    const std::int64_t n = v.is_int64() ? v.get_int64() : -1;  // unsigned only beyond Int64
    if (n < 1 || n > 65534) fail("Port " + json::serialize(v) + " is outside 1-65534");
    return std::to_string(n);
  }

  bool flag(const json::value& v, std::string_view key) const {
    if (!v.is_bool()) fail(std::string(key) + " must be true or false");
    return v.get_bool();
  }

  void manufacturer(const json::value& v) const {
    const std::string value = text(v, "Manufacturer");
    if (value != "Generic") lose("Manufacturer", '"' + value + '"', "not kept (no field for it)");
  }

  DicomNode fromArray(const json::array& a) const {
    if (a.size() != 3 && a.size() != 4) fail("an array entry holds [AET, Host, Port] or [AET, Host, Port, Manufacturer]");
    DicomNode node = start();
    node.aetitle = text(a[0], "AET");
    node.address = text(a[1], "Host");
    node.port = port(a[2]);
    if (a.size() == 4) manufacturer(a[3]);
    return node;
  }

  DicomNode fromObject(const json::object& o) const {
    DicomNode node = start();
    for (const char* required : {"AET", "Host", "Port"})
      if (!o.contains(required)) fail(std::string("no ") + required);
    for (const auto& [key, value] : o) {
      if (key == "AET") {
        node.aetitle = text(value, key);
      } else if (key == "Host") {
        node.address = text(value, key);
      } else if (key == "Port") {
        node.port = port(value);
      } else if (key == "UseDicomTls") {
        node.tlsSettings->isEnabled = flag(value, key);
      } else if (key == "Manufacturer") {
        manufacturer(value);
      } else if (key == "LocalAet") {
        if (const std::string aet = text(value, key); !aet.empty())
          lose("LocalAet", '"' + aet + '"', "not kept (the calling AE title is the application's)");
      } else if (key == "Timeout") {
        if (!value.is_uint64() && !(value.is_int64() && value.get_int64() >= 0))
          fail("Timeout must be a whole number of seconds");
        if (json::serialize(value) != "0") lose("Timeout", json::serialize(value) + " s", "not kept (no field for it)");
      } else if (key == "RetrieveMethod") {
        const std::string method = text(value, key);
        if (method == "C-GET") node.retrieveMode = RetrieveModeType::cget;
        else if (method != "C-MOVE") lose("RetrieveMethod", '"' + method + '"', "C-MOVE");
      } else if (std::find(kPermissions.begin(), kPermissions.end(), key) != kPermissions.end()) {
        if (!flag(value, key)) lose(std::string(key), "false", "not kept (the record holds no permissions)");
      } else {
        lose(std::string(key), json::serialize(value), "not kept (a key this reader does not know)");
      }
    }
    return node;
  }

  DicomNode start() const {
    DicomNode node;
    node.name = name;
    node.retrieveMode = RetrieveModeType::cmove;  // the only way Orthanc 1.10 retrieves
    return node;
  }
};

// GET /modalities?expand: every value an object holding "AET".
bool looksExpanded(const json::object& top) {
  for (const auto& entry : top)
    if (!entry.value().is_object() || !entry.value().get_object().contains("AET")) return false;
  return true;
}

}  // namespace

PeerList importOrthanc(std::string_view text) {
  const json::value document = parseLikeOrthanc(text);
  const json::object* top = document.if_object();
  if (!top) throw PeerFormatError("line 1", "not an Orthanc configuration nor GET /modalities?expand output (not an object)");
  const json::object* modalities = nullptr;
  if (const json::value* listed = top->if_contains("DicomModalities")) {
    modalities = listed->if_object();
    if (!modalities) throw PeerFormatError("DicomModalities", "must be an object of name -> modality");
  } else if (looksExpanded(*top)) {
    modalities = top;
  } else {
    throw PeerFormatError("line 1", "neither an Orthanc configuration with \"DicomModalities\" nor GET /modalities?expand output");
  }
  PeerList list;
  std::size_t position = 0;
  for (const auto& [key, value] : *modalities) {
    ModalityReader reader{++position, std::string(key), list};
    if (const auto* a = value.if_array()) list.nodes.push_back(reader.fromArray(*a));
    else if (const auto* o = value.if_object()) list.nodes.push_back(reader.fromObject(*o));
    else reader.fail("a modality is an array or an object");
    list.sources.push_back(position);
  }
  return list;
}

}  // namespace telvor::peers
