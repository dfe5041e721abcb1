#include "curl_handles.hpp"

#include <mutex>

namespace telvor::web {

std::optional<std::string> urlPart(CURLU* url, CURLUPart part) {
  char* text = nullptr;
  if (curl_url_get(url, part, &text, 0) != CURLUE_OK || text == nullptr) return std::nullopt;
  std::string value(text);
  curl_free(text);
  return value;
}

void initialiseCurl() {
  static std::once_flag once;
  // Never cleaned up: other parts of the process may use libcurl after the last probe.
  std::call_once(once, [] { curl_global_init(CURL_GLOBAL_DEFAULT); });
}

}  // namespace telvor::web
