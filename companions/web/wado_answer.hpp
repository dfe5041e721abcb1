// What an HTTP answer or a transfer failure means for a DICOMweb service (internal).
#pragma once

#include <string>
#include <string_view>

#include "telvor/web/wado_probe.hpp"

namespace telvor::web {

// An HTTP answer to `GET {root}/studies?limit=1`.
struct HttpAnswer {
  long status = 0;
  std::string contentType;  // as sent, possibly empty
  std::string location;     // of a redirect, possibly empty
  std::string bodyStart;    // the first bytes of the body
};

WadoResult judgeAnswer(const HttpAnswer& answer, std::string_view root);

// A transfer that ended without an answer. `osError` is the connection's errno;
// `certificateChainFailed`: the chain did not verify (otherwise a failed check is the name).
struct TransferFailure {
  int code = 0;  // CURLcode
  int osError = 0;
  bool connected = false;
  bool certificateChainFailed = false;
  std::string detail;  // libcurl's own text, shown only for TLS
};

WadoResult judgeFailure(const TransferFailure& failure, std::string_view root, std::string_view host,
                        std::string_view timeoutText);

}  // namespace telvor::web
