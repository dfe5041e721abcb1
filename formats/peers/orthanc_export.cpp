#include <boost/json.hpp>
#include <string>

#include "telvor/coding/text.hpp"
#include "telvor/peers/orthanc.hpp"
#include "telvor/peers/peer_names.hpp"

namespace telvor::peers {
namespace {

namespace json = boost::json;

std::string quotedJson(std::string_view text) { return json::serialize(json::string(text)); }

bool orthancNameCharacter(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
}

// A required text of the entry: present, not empty, UTF-8.
const std::string& required(const std::optional<std::string>& value, const char* what, const std::string& place) {
  if (!value || value->empty()) throw PeerFormatError(place, std::string("no ") + what + ": Orthanc requires one");
  if (!isValidUtf8(*value)) throw PeerFormatError(place, std::string(what) + " is not UTF-8 text");
  return *value;
}

}  // namespace

PeerExport exportOrthanc(std::span<const DicomNode> nodes) {
  PeerExport out;
  UniqueNames names;
  std::string body;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const DicomNode& node = nodes[i];
    const std::size_t position = i + 1;
    const std::string place = nodePlace(position, labelOf(node));
    const std::string& aet = required(node.aetitle, "AE title", place);
    const std::string& host = required(node.address, "address", place);
    long port = 0;
    if (!node.port || !portInRange(*node.port, 1, 65534, &port))
      throw PeerFormatError(place, "port " + (node.port ? '"' + *node.port + '"' : std::string("absent")) +
                                       " is not a number in 1-65534, which Orthanc requires");
    std::string wanted = keepOnly(node.name.value_or(aet), orthancNameCharacter, '_');
    const std::string name = names.claim(wanted);
    const bool tls = node.tlsSettings && node.tlsSettings->isEnabled;

    // What Orthanc gives back for this entry, read the way importOrthanc reads it.
    DicomNode carried = node;
    carried.name = name;
    carried.port = std::to_string(port);
    carried.transferSyntax = TransferSyntax::EXS_LittleEndianExplicit;
    carried.retrieveMode = RetrieveModeType::cmove;
    carried.isDicomNode = true;
    carried.isQueryable.reset();
    carried.wadoSettings = WadoSettings(PropertyDictionary{});
    carried.icon.reset();
    carried.tlsSettings = TlsSettings();
    carried.tlsSettings->isEnabled = tls;
    reportDifferences(node, carried, position, out.losses);

    body += body.empty() ? "\n" : ",\n";
    body += "    " + quotedJson(name) + " : { \"AET\" : " + quotedJson(aet) + ", \"Host\" : " + quotedJson(host) +
            ", \"Port\" : " + std::to_string(port) + (tls ? ", \"UseDicomTls\" : true" : "") + " }";
  }
  out.text = "{\n  \"DicomModalities\" : {" + body + (body.empty() ? "}\n}\n" : "\n  }\n}\n");
  return out;
}

}  // namespace telvor::peers
