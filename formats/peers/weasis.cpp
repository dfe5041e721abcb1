#include "telvor/peers/weasis.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <pugixml.hpp>
#include <sstream>
#include <utility>

#include "telvor/coding/text.hpp"
#include "telvor/peers/peer_names.hpp"

namespace telvor::peers {
namespace {

// Weasis's transfer-syntax names; "NONE" (and any other) stands for the default syntax.
constexpr std::array<std::pair<std::string_view, TransferSyntax>, 21> kSyntaxes{{
    {"IMPLICIT_VR", TransferSyntax::EXS_LittleEndianImplicit},
    {"EXPLICIT_VR_LE", TransferSyntax::EXS_LittleEndianExplicit},
    {"EXPLICIT_VR_BE", TransferSyntax::EXS_BigEndianExplicit},
    {"DEFLATE_EXPLICIT_VR_LE", TransferSyntax::EXS_DeflatedLittleEndianExplicit},
    {"RLE", TransferSyntax::EXS_RLELossless},
    {"JPEG_LOSSY_8", TransferSyntax::EXS_JPEGProcess1},
    {"JPEG_LOSSY_12", TransferSyntax::EXS_JPEGProcess2_4},
    {"JPEG_LOSSLESS_57", TransferSyntax::EXS_JPEGProcess14},
    {"JPEG_LOSSLESS_70", TransferSyntax::EXS_JPEGProcess14SV1},
    {"JPEGLS_LOSSLESS", TransferSyntax::EXS_JPEGLSLossless},
    {"JPEGLS_NEAR_LOSSLESS", TransferSyntax::EXS_JPEGLSLossy},
    {"JPEG2000_LOSSLESS", TransferSyntax::EXS_JPEG2000LosslessOnly},
    {"JPEG2000", TransferSyntax::EXS_JPEG2000},
    {"JPEG2000_LOSSLESS_2", TransferSyntax::EXS_JPEG2000MulticomponentLosslessOnly},
    {"JPEG2000_2", TransferSyntax::EXS_JPEG2000Multicomponent},
    {"JPIP", TransferSyntax::EXS_JPIPReferenced},
    {"JPIP_DEFLATE", TransferSyntax::EXS_JPIPReferencedDeflate},
    {"MPEG2", TransferSyntax::EXS_MPEG2MainProfileAtMainLevel},
    {"MPEG2_HIGH", TransferSyntax::EXS_MPEG2MainProfileAtHighLevel},
    {"MPEG_4", TransferSyntax::EXS_MPEG4HighProfileLevel4_1},
    {"MPEG_4_BD", TransferSyntax::EXS_MPEG4BDcompatibleHighProfileLevel4_1},
}};
constexpr TransferSyntax kDefaultSyntax = TransferSyntax::EXS_LittleEndianExplicit;

std::string_view weasisName(TransferSyntax syntax) {
  for (const auto& [name, value] : kSyntaxes)
    if (value == syntax) return name;
  return "NONE";
}

std::optional<std::string> attribute(const pugi::xml_node& node, const char* name) {
  const pugi::xml_attribute a = node.attribute(name);
  if (!a) return std::nullopt;
  return std::string(a.value());
}

constexpr std::array<std::string_view, 7> kRead{"description", "type", "usageType", "tsuid", "aeTitle", "hostname", "port"};

DicomNode readDicomNode(const pugi::xml_node& element, std::size_t position, const std::string& label,
                        std::vector<PeerLoss>& losses) {
  DicomNode node;
  node.name = attribute(element, "description");
  node.aetitle = attribute(element, "aeTitle");
  node.address = attribute(element, "hostname");
  node.port = attribute(element, "port");
  if (const auto tsuid = attribute(element, "tsuid"); tsuid && *tsuid != "NONE") {
    const auto* row = std::find_if(kSyntaxes.begin(), kSyntaxes.end(), [&](const auto& r) { return r.first == *tsuid; });
    if (row != kSyntaxes.end()) node.transferSyntax = row->second;
    else losses.push_back({position, label, "tsuid", '"' + *tsuid + '"', "the default syntax (no such case)"});
  }
  if (const auto usage = attribute(element, "usageType")) {
    if (*usage == "RETRIEVE" || *usage == "BOTH") node.isQueryable = true;
    else if (*usage == "STORAGE") node.isQueryable = false;
    else losses.push_back({position, label, "usageType", '"' + *usage + '"', "isQueryable left absent"});
  }
  for (const pugi::xml_attribute& a : element.attributes())
    if (std::find(kRead.begin(), kRead.end(), a.name()) == kRead.end())
      losses.push_back({position, label, a.name(), '"' + std::string(a.value()) + '"', "not kept (no field for it)"});
  return node;
}

// Text an XML attribute can carry: UTF-8 without the control characters XML 1.0 forbids.
void checkXmlText(const std::optional<std::string>& text, const char* what, const std::string& place) {
  if (!text) return;
  if (!isValidUtf8(*text)) throw PeerFormatError(place, std::string(what) + " is not UTF-8 text");
  for (unsigned char c : *text)
    if (c < 0x20 && c != '\t' && c != '\n' && c != '\r')
      throw PeerFormatError(place, std::string(what) + " holds a control character XML cannot carry");
}

}  // namespace

PeerList importWeasis(std::string_view text) {
  pugi::xml_document document;
  const pugi::xml_parse_result parsed =
      document.load_buffer(text.data(), text.size(), pugi::parse_default | pugi::parse_declaration, pugi::encoding_utf8);
  if (!parsed)
    throw PeerFormatError(lineAndColumn(text, static_cast<std::size_t>(parsed.offset)),
                          std::string("not a Weasis node file: ") + parsed.description());
  const pugi::xml_node root = document.document_element();
  if (std::strcmp(root.name(), "nodes") != 0)
    throw PeerFormatError("line 1", std::string("not a Weasis node file: the root element is <") + root.name() +
                                        ">, not <nodes>");
  PeerList list;
  std::size_t position = 0;
  for (const pugi::xml_node& element : root.children()) {
    if (element.type() != pugi::node_element) continue;
    ++position;
    const std::string label = element.attribute("description").value();
    if (std::strcmp(element.name(), "node") != 0) {
      list.losses.push_back({position, label, "node", '<' + std::string(element.name()) + '>', "skipped (not a <node>)"});
      continue;
    }
    const std::string type = element.attribute("type").value();
    if (type != "DICOM") {
      const char* why = type == "DICOM_CALLING" ? "skipped (a local AE title, not a peer)"
                        : type == "WEB"         ? "skipped (a web service without a DICOM peer)"
                                                : "skipped (not a DICOM peer)";
      list.losses.push_back({position, label, "node", "type \"" + type + '"', why});
      continue;
    }
    list.nodes.push_back(readDicomNode(element, position, label, list.losses));
    list.sources.push_back(position);
  }
  return list;
}

PeerExport exportWeasis(std::span<const DicomNode> nodes) {
  PeerExport out;
  pugi::xml_document document;
  pugi::xml_node declaration = document.append_child(pugi::node_declaration);
  declaration.append_attribute("version") = "1.0";
  declaration.append_attribute("encoding") = "UTF-8";
  pugi::xml_node root = document.append_child("nodes");
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const DicomNode& node = nodes[i];
    const std::size_t position = i + 1;
    const std::string place = nodePlace(position, labelOf(node));
    if (!node.aetitle || node.aetitle->empty() || utf8Length(*node.aetitle) > 16)
      throw PeerFormatError(place, "the AE title must have 1 to 16 characters: Weasis skips the node otherwise");
    if (!node.address || node.address->empty()) throw PeerFormatError(place, "no address");
    if (!node.port || !portInRange(*node.port, 1, 65535))
      throw PeerFormatError(place, "port " + (node.port ? '"' + *node.port + '"' : std::string("absent")) +
                                       " is not a number in 1-65535");
    checkXmlText(node.name, "the name", place);
    checkXmlText(node.aetitle, "the AE title", place);
    checkXmlText(node.address, "the address", place);

    const std::string description = node.name.value_or(*node.aetitle);
    const bool storageOnly = node.isQueryable == false;
    const std::string_view tsuid = weasisName(node.transferSyntax);
    pugi::xml_node element = root.append_child("node");
    element.append_attribute("description") = description.c_str();
    element.append_attribute("type") = "DICOM";
    element.append_attribute("usageType") = storageOnly ? "STORAGE" : "BOTH";
    element.append_attribute("tsuid") = std::string(tsuid).c_str();
    element.append_attribute("aeTitle") = node.aetitle->c_str();
    element.append_attribute("hostname") = node.address->c_str();
    element.append_attribute("port") = node.port->c_str();

    DicomNode carried = node;
    carried.name = description;
    carried.isQueryable = !storageOnly;
    carried.transferSyntax = tsuid == "NONE" ? kDefaultSyntax : node.transferSyntax;
    carried.retrieveMode = RetrieveModeType::cget;
    carried.isDicomNode = true;
    carried.wadoSettings = WadoSettings(PropertyDictionary{});
    carried.icon.reset();
    carried.tlsSettings = TlsSettings();
    reportDifferences(node, carried, position, out.losses);
  }
  std::ostringstream text;
  document.save(text, "  ", pugi::format_default, pugi::encoding_utf8);
  out.text = text.str();
  return out;
}

}  // namespace telvor::peers
