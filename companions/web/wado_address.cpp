#include <algorithm>
#include <cctype>

#include "curl_handles.hpp"
#include "telvor/web/wado_probe.hpp"

namespace telvor::web {
namespace {

using Composed = std::variant<WadoAddress, std::string>;

// "http://...", "HTTPS://...": a scheme of letters, digits, '+', '-' or '.' before "://".
bool hasScheme(std::string_view url) {
  const auto colon = url.find("://");
  if (colon == std::string_view::npos || colon == 0) return false;
  if (std::isalpha(static_cast<unsigned char>(url.front())) == 0) return false;
  return std::all_of(url.begin(), url.begin() + static_cast<std::ptrdiff_t>(colon), [](char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '+' || c == '-' || c == '.';
  });
}

bool nonEmpty(const std::optional<std::string>& text) { return text && !text->empty(); }

// Takes the user information out of `url` into `address`; the settings' own credentials win.
void moveCredentials(CURLU* url, const WadoSettings& settings, WadoAddress& address) {
  const auto user = urlPart(url, CURLUPART_USER);
  const auto password = urlPart(url, CURLUPART_PASSWORD);
  const bool fromSettings = nonEmpty(settings.username) || nonEmpty(settings.password);
  address.username = fromSettings ? settings.username.value_or("") : user.value_or("");
  address.password = fromSettings ? settings.password.value_or("") : password.value_or("");
  curl_url_set(url, CURLUPART_USER, nullptr, 0);
  curl_url_set(url, CURLUPART_PASSWORD, nullptr, 0);
  curl_url_set(url, CURLUPART_OPTIONS, nullptr, 0);
}

// The URL's text without fragment; `root` loses a trailing slash so that paths append.
Composed finish(CURLU* url, WadoAddress address) {
  curl_url_set(url, CURLUPART_FRAGMENT, nullptr, 0);
  auto path = urlPart(url, CURLUPART_PATH).value_or("/");
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  curl_url_set(url, CURLUPART_PATH, path.c_str(), 0);
  auto text = urlPart(url, CURLUPART_URL);
  if (!text) return std::string("The WADO settings do not make a usable URL: check the WADO URL.");
  address.root = std::move(*text);
  return address;
}

Composed absolute(const std::string& text, const WadoSettings& settings) {
  const Url url(curl_url());
  if (!url) throw std::bad_alloc();
  // The text may carry a password: it is never quoted back.
  if (curl_url_set(url.get(), CURLUPART_URL, text.c_str(), CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK)
    return std::string("The WADO URL is not a valid URL: write it as http://HOST[:PORT]/PATH or https://...");
  const auto scheme = urlPart(url.get(), CURLUPART_SCHEME).value_or("");
  if (scheme != "http" && scheme != "https")
    return "The WADO URL's scheme \"" + scheme + "\" is not http or https: a WADO service is reached over the web.";
  WadoAddress address;
  moveCredentials(url.get(), settings, address);
  return finish(url.get(), std::move(address));
}

Composed relative(const DicomNode& node) {
  const WadoSettings& settings = node.wadoSettings;
  if (!node.address || node.address->empty())
    return std::string("The node has no address, and its WADO URL is a path: set the node's address, or give "
                       "the WADO URL in full (http://HOST/PATH).");
  const std::int64_t port = settings.port.value_or(0);
  if (port < 0 || port > 65535)
    return "WADO port " + std::to_string(port) + " is not a TCP port: set it from 1 to 65535, or 0 for the "
           "scheme's default.";

  std::string host = *node.address;
  if (host.find(':') != std::string::npos && host.front() != '[') host = "[" + host + "]";
  std::string path = *settings.url;
  std::string query;
  if (const auto hash = path.find('#'); hash != std::string::npos) path.erase(hash);
  if (const auto mark = path.find('?'); mark != std::string::npos) {
    query = path.substr(mark + 1);
    path.erase(mark);
  }
  if (path.empty() || path.front() != '/') path.insert(path.begin(), '/');

  const Url url(curl_url());
  if (!url) throw std::bad_alloc();
  const std::string scheme = settings.https ? "https" : "http";
  if (curl_url_set(url.get(), CURLUPART_SCHEME, scheme.c_str(), 0) != CURLUE_OK ||
      curl_url_set(url.get(), CURLUPART_HOST, host.c_str(), 0) != CURLUE_OK)
    return "The node's address \"" + *node.address + "\" is not a host name or IP address: set the host alone, "
           "without port or scheme.";
  if (port != 0 && curl_url_set(url.get(), CURLUPART_PORT, std::to_string(port).c_str(), 0) != CURLUE_OK)
    return "WADO port " + std::to_string(port) + " is not a TCP port: set it from 1 to 65535.";
  if (curl_url_set(url.get(), CURLUPART_PATH, path.c_str(), CURLU_URLENCODE) != CURLUE_OK ||
      (!query.empty() && curl_url_set(url.get(), CURLUPART_QUERY, query.c_str(), 0) != CURLUE_OK))
    return std::string("The WADO URL is not a valid path: write it as /PATH (such as /dicom-web).");
  // A path made with a host is checked once more as a whole: "host" must be a host.
  if (!urlPart(url.get(), CURLUPART_URL))
    return "The node's address \"" + *node.address + "\" is not a host name or IP address.";
  WadoAddress address;
  address.username = settings.username.value_or("");
  address.password = settings.password.value_or("");
  return finish(url.get(), std::move(address));
}

}  // namespace

Composed composeWadoAddress(const DicomNode& node) {
  const auto& url = node.wadoSettings.url;
  if (!url || url->empty())
    return std::string("The node has no WADO URL: set the path of its web service (such as /dicom-web) or a full "
                       "URL.");
  initialiseCurl();
  return hasScheme(*url) ? absolute(*url, node.wadoSettings) : relative(node);
}

}  // namespace telvor::web
