// Owning handles for libcurl's objects (internal), and its one-time global set-up.
#pragma once

#include <curl/curl.h>

#include <memory>
#include <optional>
#include <string>

namespace telvor::web {

struct UrlDeleter {
  void operator()(CURLU* url) const noexcept { curl_url_cleanup(url); }
};
using Url = std::unique_ptr<CURLU, UrlDeleter>;

struct EasyDeleter {
  void operator()(CURL* easy) const noexcept { curl_easy_cleanup(easy); }
};
using Easy = std::unique_ptr<CURL, EasyDeleter>;

struct HeaderListDeleter {
  void operator()(curl_slist* list) const noexcept { curl_slist_free_all(list); }
};
using HeaderList = std::unique_ptr<curl_slist, HeaderListDeleter>;

// One part of a parsed URL, absent when the URL has none.
std::optional<std::string> urlPart(CURLU* url, CURLUPart part);

// libcurl's process-wide initialisation, done once before the first handle; safe from any
// thread.
void initialiseCurl();

}  // namespace telvor::web
