#include "node_output.hpp"

#include <array>
#include <utility>
#include <vector>

#include "case_names.hpp"
#include "support/terminal_text.hpp"
#include "telvor/json/json.hpp"

namespace telvor::tool {
namespace {

// Catalogue text as a terminal may show it.
std::string orNone(const std::optional<std::string>& text, const char* none = "(absent)") {
  return text ? escapeForTerminal(*text) : none;
}

std::string yesNo(bool value) { return value ? "yes" : "no"; }

}  // namespace

std::string_view passwordState(const DicomNode& node) noexcept {
  if (!node.wadoSettings.password) return "absent";
  return node.wadoSettings.password->empty() ? "empty" : "set";
}

boost::json::object nodeEntry(const DicomNode& node, std::size_t index, bool withIdentifier) {
  DicomNode shown = node;
  shown.wadoSettings.password.reset();
  if (shown.wadoSettings.url) shown.wadoSettings.url = maskUrlPassword(*shown.wadoSettings.url);
  if (!withIdentifier) shown.uniqueId.reset();
  boost::json::object entry;
  entry["index"] = index + 1;
  entry["node"] = json::toDocument(shown);
  entry["wadoPassword"] = passwordState(node);
  return entry;
}

std::string formatNodeFields(const DicomNode& n, std::size_t index, bool withIdentifier) {
  const auto& tls = n.tlsSettings;
  const auto& wado = n.wadoSettings;
  const std::vector<std::pair<const char*, std::string>> rows{
      {"#", std::to_string(index + 1)},
      {"Identifier", withIdentifier ? (n.uniqueId ? n.id() : "(absent)") : "(not stored in property lists)"},
      {"Name", orNone(n.name)},
      {"AE title", orNone(n.aetitle)},
      {"Address", orNone(n.address)},
      {"Port", orNone(n.port)},
      {"Transfer syntax", std::string(title(n.transferSyntax)) + " (" + std::string(caseName(n.transferSyntax)) +
                              ", " + std::to_string(rawValue(n.transferSyntax)) + ")"},
      {"Retrieve", std::string(title(n.retrieveMode))},
      {"DICOM node", yesNo(n.isDicomNode)},
      {"Queryable", n.isQueryable ? yesNo(*n.isQueryable) : "unset"},
      {"Icon", orNone(n.icon)},
      {"TLS", tls ? (tls->isEnabled ? "on" : "off") : "(no TLS settings)"},
      {"TLS profile", tls ? std::to_string(rawValue(tls->securityProfile)) : "-"},
      {"Verify peer", tls ? yesNo(tls->verifyPeerCertificate) : "-"},
      {"Client certificate", tls ? yesNo(tls->authenticateWithCertificate) : "-"},
      {"WADO URL", wado.url ? escapeForTerminal(maskUrlPassword(*wado.url)) : "(absent)"},
      {"WADO port", wado.port ? std::to_string(*wado.port) : "(absent)"},
      {"WADO user", orNone(wado.username)},
      {"WADO password", "(" + std::string(passwordState(n)) + ")"},
      {"WADO syntax", std::string(title(wado.retrieveSyntax)) + " (" + std::string(caseName(wado.retrieveSyntax)) +
                          ", " + std::to_string(rawValue(wado.retrieveSyntax)) + ")"},
      {"HTTPS", yesNo(wado.https)},
  };
  std::size_t width = 0;
  for (const auto& row : rows) width = std::max(width, std::string_view(row.first).size());
  std::string out;
  for (const auto& [label, value] : rows) {
    out += label;
    out += ':';
    out.append(width - std::string_view(label).size() + 2, ' ');
    out += value;
    out += '\n';
  }
  return out;
}

}  // namespace telvor::tool
