#include "telvor/web/wado_probe.hpp"

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <sstream>

#include "curl_handles.hpp"
#include "telvor/status/detail/timeout_text.hpp"
#include "wado_answer.hpp"

namespace telvor::web {
namespace {

using Clock = std::chrono::steady_clock;
using telvor::detail::timeoutText;

constexpr std::chrono::milliseconds kLongest = std::chrono::hours(24);
// Enough of the body to tell JSON from a web page; the rest is read and dropped.
constexpr std::size_t kBodyKept = 512;

WadoResult failed(WadoOutcome outcome, std::string reason) {
  WadoResult r;
  r.outcome = outcome;
  r.reason = std::move(reason);
  return r;
}

std::size_t keepStart(char* data, std::size_t size, std::size_t count, void* target) {
  auto& body = *static_cast<std::string*>(target);
  const std::size_t bytes = size * count;
  if (body.size() < kBodyKept) body.append(data, std::min(bytes, kBodyKept - body.size()));
  return bytes;
}

// The query asked of the root: {root}/studies?limit=1.
std::optional<std::string> queryUrl(const std::string& root) {
  const Url url(curl_url());
  if (!url) throw std::bad_alloc();
  if (curl_url_set(url.get(), CURLUPART_URL, root.c_str(), CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK) return std::nullopt;
  std::string path = urlPart(url.get(), CURLUPART_PATH).value_or("/");
  if (path.back() != '/') path += '/';
  path += "studies";
  if (curl_url_set(url.get(), CURLUPART_PATH, path.c_str(), 0) != CURLUE_OK ||
      curl_url_set(url.get(), CURLUPART_QUERY, "limit=1", CURLU_APPENDQUERY) != CURLUE_OK)
    return std::nullopt;
  return urlPart(url.get(), CURLUPART_URL);
}

// The trusted authorities' files, read into one PEM bundle, or the reason they cannot be.
std::variant<std::string, WadoResult> trustedBundle(const std::vector<std::string>& files) {
  std::string bundle;
  for (const auto& file : files) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    if (in) text << in.rdbuf();
    if (!in || text.str().find("-----BEGIN CERTIFICATE-----") == std::string::npos)
      return failed(WadoOutcome::localSetupFailed,
                    "Cannot read the trusted certificate file \"" + file +
                        "\": check that the file exists and holds PEM certificates.");
    bundle += text.str();
    bundle += '\n';
  }
  return bundle;
}

// `url` without user name and password; empty when it cannot be parsed.
std::string withoutCredentials(const char* url) {
  const Url parsed(curl_url());
  if (!parsed) throw std::bad_alloc();
  if (curl_url_set(parsed.get(), CURLUPART_URL, url, CURLU_NON_SUPPORT_SCHEME) != CURLUE_OK) return {};
  curl_url_set(parsed.get(), CURLUPART_USER, nullptr, 0);
  curl_url_set(parsed.get(), CURLUPART_PASSWORD, nullptr, 0);
  curl_url_set(parsed.get(), CURLUPART_OPTIONS, nullptr, 0);
  return urlPart(parsed.get(), CURLUPART_URL).value_or("");
}

bool isHttps(const std::string& root) { return root.rfind("https:", 0) == 0; }

struct Request {
  Easy easy;
  HeaderList headers;
  std::string url, body, bundle;
  std::array<char, CURL_ERROR_SIZE> error{};
};

// Sets `request` up; false when libcurl refuses an option (it lacks a feature).
bool configure(Request& r, const WadoAddress& address, const DicomNode& node, const WadoProbeOptions& options,
               std::chrono::milliseconds timeout) {
  CURL* e = r.easy.get();
  bool ok = true;
  const auto set = [&](CURLoption option, auto value) { ok = ok && curl_easy_setopt(e, option, value) == CURLE_OK; };
  set(CURLOPT_URL, r.url.c_str());
  set(CURLOPT_PROTOCOLS_STR, "http,https");
  set(CURLOPT_NOSIGNAL, 1L);
  set(CURLOPT_TIMEOUT_MS, static_cast<long>(timeout.count()));
  set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(timeout.count()));
  set(CURLOPT_FOLLOWLOCATION, 0L);
  set(CURLOPT_ERRORBUFFER, r.error.data());
  set(CURLOPT_WRITEFUNCTION, keepStart);
  set(CURLOPT_WRITEDATA, static_cast<void*>(&r.body));
  set(CURLOPT_NETRC, static_cast<long>(CURL_NETRC_IGNORED));
  r.headers.reset(curl_slist_append(nullptr, "Accept: application/dicom+json"));
  set(CURLOPT_HTTPHEADER, r.headers.get());
  if (!address.username.empty() || !address.password.empty()) {
    set(CURLOPT_HTTPAUTH, static_cast<long>(CURLAUTH_BASIC));
    set(CURLOPT_USERNAME, address.username.c_str());
    set(CURLOPT_PASSWORD, address.password.c_str());
  }
  const bool verify = node.tlsSettings && node.tlsSettings->verifyPeerCertificate;
  set(CURLOPT_SSL_VERIFYPEER, verify ? 1L : 0L);
  set(CURLOPT_SSL_VERIFYHOST, verify ? 2L : 0L);
  if (!r.bundle.empty()) {
    curl_blob blob{r.bundle.data(), r.bundle.size(), CURL_BLOB_NOCOPY};
    set(CURLOPT_CAINFO_BLOB, &blob);
  }
  if (!options.trustedCertificateDirectories.empty())
    set(CURLOPT_CAPATH, options.trustedCertificateDirectories.front().c_str());
  if (const auto& certificate = options.clientCertificate) {
    set(CURLOPT_SSLCERT, certificate->certificateFile.c_str());
    set(CURLOPT_SSLKEY, certificate->privateKeyFile.c_str());
    set(CURLOPT_KEYPASSWD, "");  // an encrypted key fails rather than prompts
  }
  return ok;
}

std::string hostOf(const DicomNode& node, const std::string& root) {
  const Url url(curl_url());
  if (url && curl_url_set(url.get(), CURLUPART_URL, root.c_str(), CURLU_NON_SUPPORT_SCHEME) == CURLUE_OK)
    if (auto host = urlPart(url.get(), CURLUPART_HOST)) return *host;
  return node.address.value_or("");
}

WadoResult run(const DicomNode& node, const WadoProbeOptions& options, std::chrono::milliseconds timeout) {
  auto composed = composeWadoAddress(node);
  if (auto* reason = std::get_if<std::string>(&composed)) return failed(WadoOutcome::notAttempted, *reason);
  const WadoAddress& address = std::get<WadoAddress>(composed);
  if (options.trustedCertificateDirectories.size() > 1)
    return failed(WadoOutcome::localSetupFailed,
                  "A web service can be checked against one folder of trusted certificates, not " +
                      std::to_string(options.trustedCertificateDirectories.size()) +
                      ": give one folder, or the authorities' files.");

  Request r;
  auto url = queryUrl(address.root);
  if (!url) return failed(WadoOutcome::notAttempted, "The WADO settings do not make a usable URL: check the WADO URL.");
  r.url = std::move(*url);
  if (isHttps(address.root)) {
    auto bundle = trustedBundle(options.trustedCertificateFiles);
    if (auto* failure = std::get_if<WadoResult>(&bundle)) return std::move(*failure);
    r.bundle = std::move(std::get<std::string>(bundle));
  }
  r.easy.reset(curl_easy_init());
  if (!r.easy) throw std::bad_alloc();
  if (!configure(r, address, node, options, timeout))
    return failed(WadoOutcome::localSetupFailed,
                  "This computer's libcurl lacks a feature the web probe needs (HTTPS, or certificates in memory): "
                  "install Debian's libcurl4-openssl.");

  const CURLcode code = curl_easy_perform(r.easy.get());
  WadoResult result;
  if (code == CURLE_OK) {
    HttpAnswer answer;
    curl_easy_getinfo(r.easy.get(), CURLINFO_RESPONSE_CODE, &answer.status);
    char* text = nullptr;
    if (curl_easy_getinfo(r.easy.get(), CURLINFO_CONTENT_TYPE, &text) == CURLE_OK && text != nullptr)
      answer.contentType = text;
    text = nullptr;
    // libcurl writes the request's credentials into a redirect's URL: they are taken out.
    if (curl_easy_getinfo(r.easy.get(), CURLINFO_REDIRECT_URL, &text) == CURLE_OK && text != nullptr)
      answer.location = withoutCredentials(text);
    answer.bodyStart = std::move(r.body);
    result = judgeAnswer(answer, address.root);
  } else {
    TransferFailure failure;
    failure.code = code;
    long osError = 0;
    curl_easy_getinfo(r.easy.get(), CURLINFO_OS_ERRNO, &osError);
    failure.osError = static_cast<int>(osError);
    curl_off_t connectTime = 0;
    curl_easy_getinfo(r.easy.get(), CURLINFO_CONNECT_TIME_T, &connectTime);
    failure.connected = connectTime > 0;
    failure.detail = r.error.data();
    if (failure.detail.empty()) failure.detail = curl_easy_strerror(code);
    // OpenSSL's verdict on the chain; its host and IP mismatches (62, 64) and libcurl's own
    // name check ("... target host name ...") are about the name, not the chain.
    long verifyResult = 0;
    curl_easy_getinfo(r.easy.get(), CURLINFO_SSL_VERIFYRESULT, &verifyResult);
    const bool nameMismatch = verifyResult == 62 || verifyResult == 64 ||
                              failure.detail.find("target host name") != std::string::npos;
    failure.certificateChainFailed = verifyResult != 0 && !nameMismatch;
    result = judgeFailure(failure, address.root, hostOf(node, address.root), timeoutText(timeout));
  }
  result.root = address.root;
  return result;
}

}  // namespace

std::string_view codeName(WadoOutcome outcome) noexcept {
  switch (outcome) {
    case WadoOutcome::answered: return "answered";
    case WadoOutcome::notAttempted: return "not-attempted";
    case WadoOutcome::localSetupFailed: return "local-setup-failed";
    case WadoOutcome::credentialsRefused: return "credentials-refused";
    case WadoOutcome::forbidden: return "forbidden";
    case WadoOutcome::noService: return "no-service";
    case WadoOutcome::notDicomWeb: return "not-dicomweb";
    case WadoOutcome::serviceError: return "service-error";
    case WadoOutcome::certificateNotTrusted: return "certificate-not-trusted";
    case WadoOutcome::certificateNameMismatch: return "certificate-name-mismatch";
    case WadoOutcome::tlsFailed: return "tls-failed";
    case WadoOutcome::connectionRefused: return "connection-refused";
    case WadoOutcome::unreachable: return "unreachable";
    case WadoOutcome::addressNotFound: return "address-not-found";
    case WadoOutcome::timedOut: return "timed-out";
    case WadoOutcome::connectionClosed: return "connection-closed";
  }
  return "unknown";
}

WadoResult probeWado(const DicomNode& node, const WadoProbeOptions& options) {
  const auto start = Clock::now();
  initialiseCurl();
  WadoResult result = run(node, options, std::clamp(options.timeout, std::chrono::milliseconds(1), kLongest));
  result.elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start);
  return result;
}

}  // namespace telvor::web
