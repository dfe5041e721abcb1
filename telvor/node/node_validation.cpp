#include "telvor/node/node_validation.hpp"

#include <array>
#include <cstdint>

namespace telvor {
namespace {

struct ProblemRow {
  NodeProblemCode code;
  std::string_view name;
  std::string_view message;  // "{}" stands for the offending value where one is shown
};

constexpr std::array<ProblemRow, 15> kProblems{{
    {NodeProblemCode::aetitleMissing, "aetitle-missing", "AE title is missing: set the peer's application entity title."},
    {NodeProblemCode::aetitleEmpty, "aetitle-empty", "AE title is empty: set the peer's application entity title."},
    {NodeProblemCode::aetitleAllSpaces, "aetitle-all-spaces",
     "AE title consists of spaces only: set the peer's application entity title."},
    {NodeProblemCode::aetitleTooLong, "aetitle-too-long",
     "AE title \"{}\" is longer than 16 characters: shorten it to the title the peer expects."},
    {NodeProblemCode::aetitleInvalidCharacter, "aetitle-invalid-character",
     "AE title \"{}\" holds a backslash, a control character or a non-ASCII character: use printable ASCII only."},
    {NodeProblemCode::portMissing, "port-missing", "Port is missing: set the peer's TCP port (usually 104 or 11112)."},
    {NodeProblemCode::portInvalid, "port-invalid", "Port \"{}\" is not a number from 1 to 65535: correct it."},
    {NodeProblemCode::addressMissing, "address-missing", "Address is missing: set the peer's host name or IP address."},
    {NodeProblemCode::addressEmpty, "address-empty", "Address is empty: set the peer's host name or IP address."},
    {NodeProblemCode::addressWithPort, "address-with-port",
     "Address \"{}\" carries a port of its own: keep only the host name or IP address, and the port in the "
     "port field."},
    {NodeProblemCode::addressWithScheme, "address-with-scheme",
     "Address \"{}\" begins with a scheme: keep only the host name or IP address (TLS is a setting of its own)."},
    {NodeProblemCode::wadoUrlMissing, "wado-url-missing",
     "Retrieve mode is WADO but no WADO URL is set: set the URL or choose C-MOVE or C-GET."},
    {NodeProblemCode::wadoUrlInvalid, "wado-url-invalid",
     "WADO URL \"{}\" is not an http:// or https:// URL with a host: set the WADO service's full URL."},
    {NodeProblemCode::wadoUrlSchemeMismatch, "wado-url-scheme-mismatch",
     "WADO URL \"{}\" does not agree with the HTTPS setting: use https:// with HTTPS on, http:// with it off."},
    {NodeProblemCode::wadoPortInvalid, "wado-port-invalid",
     "WADO port {} is not a number from 1 to 65535: correct it, or leave it unset."},
}};

constexpr bool rowsFollowCodes() {
  for (std::size_t i = 0; i < kProblems.size(); ++i)
    if (static_cast<std::size_t>(kProblems[i].code) != i) return false;
  return true;
}
static_assert(rowsFollowCodes(), "the problem table lists the codes in declaration order");

const ProblemRow& row(NodeProblemCode code) noexcept { return kProblems[static_cast<std::size_t>(code)]; }

NodeProblem problem(NodeProblemCode code, std::string_view value = {}) {
  std::string message(row(code).message);
  if (const auto at = message.find("{}"); at != std::string::npos) message.replace(at, 2, value);
  return {code, std::move(message)};
}

std::string_view trimSpaces(std::string_view text) noexcept {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

bool isAeCharacter(char c) noexcept {
  const auto b = static_cast<unsigned char>(c);
  return b >= 0x20 && b < 0x7F && c != '\\';
}

void checkAeTitle(const std::optional<std::string>& aetitle, std::vector<NodeProblem>& out) {
  if (!aetitle) return out.push_back(problem(NodeProblemCode::aetitleMissing));
  if (aetitle->empty()) return out.push_back(problem(NodeProblemCode::aetitleEmpty));
  const std::string_view significant = trimSpaces(*aetitle);
  if (significant.empty()) return out.push_back(problem(NodeProblemCode::aetitleAllSpaces));
  if (significant.size() > 16) out.push_back(problem(NodeProblemCode::aetitleTooLong, *aetitle));
  for (const char c : *aetitle) {
    if (!isAeCharacter(c)) return out.push_back(problem(NodeProblemCode::aetitleInvalidCharacter, *aetitle));
  }
}

bool isPortNumber(std::string_view text) noexcept { return portNumber(text).has_value(); }

bool isDigits(std::string_view text) noexcept {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

// "scheme://...", where a scheme is a letter followed by letters, digits, "+", "-" or ".".
bool hasScheme(std::string_view address) noexcept {
  const auto end = address.find("://");
  if (end == std::string_view::npos || end == 0) return false;
  const std::string_view scheme = address.substr(0, end);
  const auto isAlpha = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
  if (!isAlpha(scheme.front())) return false;
  for (const char c : scheme)
    if (!isAlpha(c) && !(c >= '0' && c <= '9') && c != '+' && c != '-' && c != '.') return false;
  return true;
}

// "host:104" or "[v6]:104". A bare IPv6 address holds several colons and is a host.
bool hasPort(std::string_view address) noexcept {
  if (address.starts_with('[')) {
    const auto close = address.find(']');
    return close != std::string_view::npos && address.substr(close + 1).starts_with(':');
  }
  const auto colon = address.find(':');
  return colon != std::string_view::npos && address.find(':', colon + 1) == std::string_view::npos &&
         isDigits(address.substr(colon + 1));
}

void checkAddress(const std::optional<std::string>& address, std::vector<NodeProblem>& out) {
  if (!address) return out.push_back(problem(NodeProblemCode::addressMissing));
  if (address->empty()) return out.push_back(problem(NodeProblemCode::addressEmpty));
  if (hasScheme(*address)) return out.push_back(problem(NodeProblemCode::addressWithScheme, *address));
  if (hasPort(*address)) out.push_back(problem(NodeProblemCode::addressWithPort, *address));
}

// The scheme ("http" or "https", any case) of a URL "scheme://host[:port][/...]" whose host
// is not empty and whose port, if any, is a port number; empty when it is not one.
std::string_view webScheme(std::string_view url) noexcept {
  const auto end = url.find("://");
  if (end == std::string_view::npos) return {};
  const std::string_view scheme = url.substr(0, end);
  const auto isScheme = [&](std::string_view wanted) {
    if (scheme.size() != wanted.size()) return false;
    for (std::size_t i = 0; i < wanted.size(); ++i)
      if ((scheme[i] | 0x20) != wanted[i]) return false;
    return true;
  };
  if (!isScheme("http") && !isScheme("https")) return {};
  std::string_view authority = url.substr(end + 3);
  authority = authority.substr(0, authority.find_first_of("/?#"));
  if (const auto at = authority.rfind('@'); at != std::string_view::npos) authority.remove_prefix(at + 1);
  for (const char c : authority)
    if (static_cast<unsigned char>(c) <= 0x20 || c == 0x7F) return {};
  std::string_view host = authority;
  if (authority.starts_with('[')) {
    const auto close = authority.find(']');
    if (close == std::string_view::npos) return {};
    host = authority.substr(0, close + 1);
    const std::string_view rest = authority.substr(close + 1);
    if (!rest.empty() && (!rest.starts_with(':') || !isPortNumber(rest.substr(1)))) return {};
  } else if (const auto colon = authority.find(':'); colon != std::string_view::npos) {
    host = authority.substr(0, colon);
    if (!isPortNumber(authority.substr(colon + 1))) return {};
  }
  if (host.empty() || host == "[]") return {};
  return scheme;
}

void checkWado(const WadoSettings& wado, std::vector<NodeProblem>& out) {
  if (!wado.url || wado.url->empty()) {
    out.push_back(problem(NodeProblemCode::wadoUrlMissing));
  } else if (const std::string_view scheme = webScheme(*wado.url); scheme.empty()) {
    out.push_back(problem(NodeProblemCode::wadoUrlInvalid, *wado.url));
  } else if ((scheme.size() == 5) != wado.https) {
    out.push_back(problem(NodeProblemCode::wadoUrlSchemeMismatch, *wado.url));
  }
  // 0 is how a property list writes "no port": the URL's own port, or its scheme's, applies.
  if (wado.port && (*wado.port < 0 || *wado.port > 65535))
    out.push_back(problem(NodeProblemCode::wadoPortInvalid, std::to_string(*wado.port)));
}

}  // namespace

std::string_view codeName(NodeProblemCode code) noexcept { return row(code).name; }

std::optional<std::string_view> significantAeTitle(std::string_view title) noexcept {
  const std::string_view significant = trimSpaces(title);
  if (significant.empty() || significant.size() > 16) return std::nullopt;
  for (const char c : significant)
    if (!isAeCharacter(c)) return std::nullopt;
  return significant;
}

std::optional<std::uint16_t> portNumber(std::string_view text) noexcept {
  if (text.empty() || text.size() > 5) return std::nullopt;
  std::uint32_t value = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + static_cast<std::uint32_t>(c - '0');
  }
  if (value < 1 || value > 65535) return std::nullopt;
  return static_cast<std::uint16_t>(value);
}

std::vector<NodeProblem> validate(const DicomNode& node) {
  std::vector<NodeProblem> problems;
  checkAeTitle(node.aetitle, problems);
  if (!node.port) problems.push_back(problem(NodeProblemCode::portMissing));
  else if (!isPortNumber(*node.port)) problems.push_back(problem(NodeProblemCode::portInvalid, *node.port));
  checkAddress(node.address, problems);
  if (node.retrieveMode == RetrieveModeType::wado) checkWado(node.wadoSettings, problems);
  return problems;
}

}  // namespace telvor
