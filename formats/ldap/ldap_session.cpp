#include "ldap_session.hpp"

#include <sys/time.h>

#include <memory>

namespace telvor::ldap::detail {
namespace {

using Kind = DirectoryError::Kind;

timeval toTimeval(std::chrono::milliseconds span) {
  timeval tv{};
  tv.tv_sec = static_cast<time_t>(span.count() / 1000);
  tv.tv_usec = static_cast<suseconds_t>((span.count() % 1000) * 1000);
  return tv;
}

bool connectionLost(int code) { return code == LDAP_SERVER_DOWN || code == LDAP_CONNECT_ERROR || code == LDAP_TIMEOUT; }

struct UrlParts {
  std::string server, base;
};

UrlParts parseUrl(const std::string& url) {
  LDAPURLDesc* desc = nullptr;
  if (ldap_url_parse(url.c_str(), &desc) != LDAP_URL_SUCCESS || desc == nullptr)
    throw DirectoryError(Kind::badAddress, "\"" + url + "\" is not an LDAP URL (ldap://HOST:PORT/BASE-DN or ldaps://...)");
  std::unique_ptr<LDAPURLDesc, void (*)(LDAPURLDesc*)> owned(desc, ldap_free_urldesc);
  const std::string scheme = desc->lud_scheme ? desc->lud_scheme : "";
  if (scheme != "ldap" && scheme != "ldaps")
    throw DirectoryError(Kind::badAddress, "\"" + url + "\": only ldap:// and ldaps:// are supported");
  if (desc->lud_host == nullptr || *desc->lud_host == '\0')
    throw DirectoryError(Kind::badAddress, "\"" + url + "\" names no host");
  if (desc->lud_dn == nullptr || *desc->lud_dn == '\0')
    throw DirectoryError(Kind::badAddress, "\"" + url + "\" names no base DN (ldap://HOST:PORT/dc=example,dc=org)");
  std::string host = desc->lud_host;
  if (host.find(':') != std::string::npos) host = '[' + host + ']';  // IPv6
  const int port = desc->lud_port != 0 ? desc->lud_port : (scheme == "ldaps" ? 636 : 389);
  return {scheme + "://" + host + ":" + std::to_string(port), desc->lud_dn};
}

}  // namespace

LdapSession::LdapSession(const DirectoryAccess& access) : limits_(access.limits), pageSize_(access.pageSize) {
  const UrlParts parts = parseUrl(access.url);
  server_ = parts.server;
  base_ = parts.base;
  if (access.startTls && server_.starts_with("ldaps:"))
    throw DirectoryError(Kind::badAddress, server_ + ": StartTLS is for ldap://; ldaps:// is TLS already");
  if (ldap_initialize(&ld_, server_.c_str()) != LDAP_SUCCESS || ld_ == nullptr)
    throw DirectoryError(Kind::badAddress, server_ + ": cannot be used as a directory address");
  try {
    setUp(access);
  } catch (...) {
    ldap_unbind_ext_s(ld_, nullptr, nullptr);  // the destructor does not run for a constructor that throws
    ld_ = nullptr;
    throw;
  }
}

void LdapSession::setUp(const DirectoryAccess& access) {
  const int version = LDAP_VERSION3;
  ldap_set_option(ld_, LDAP_OPT_PROTOCOL_VERSION, &version);
  ldap_set_option(ld_, LDAP_OPT_REFERRALS, LDAP_OPT_OFF);
  const timeval limit = toTimeval(access.timeout);
  ldap_set_option(ld_, LDAP_OPT_NETWORK_TIMEOUT, &limit);
  ldap_set_option(ld_, LDAP_OPT_TIMEOUT, &limit);
  if (access.caFile || access.startTls || server_.starts_with("ldaps:")) {
    const int demand = LDAP_OPT_X_TLS_DEMAND;
    ldap_set_option(ld_, LDAP_OPT_X_TLS_REQUIRE_CERT, &demand);
    if (access.caFile) ldap_set_option(ld_, LDAP_OPT_X_TLS_CACERTFILE, access.caFile->c_str());
    const int server = 0;
    if (const int rc = ldap_set_option(ld_, LDAP_OPT_X_TLS_NEWCTX, &server); rc != LDAP_OPT_SUCCESS)
      throw DirectoryError(Kind::unreachable, server_ + ": TLS cannot be set up" +
                                                  (access.caFile ? " (is " + *access.caFile + " a PEM certificate file?)" : ""));
  }
  if (access.startTls) {
    if (const int rc = ldap_start_tls_s(ld_, nullptr, nullptr); rc != LDAP_SUCCESS)
      throw DirectoryError(Kind::unreachable, server_ + ": StartTLS failed: " + explain(rc));
  }
  berval credentials{};
  std::string dn;
  if (access.bindDn) {
    dn = *access.bindDn;
    credentials.bv_val = const_cast<char*>(access.password.data());
    credentials.bv_len = access.password.size();
  }
  const int rc = ldap_sasl_bind_s(ld_, dn.c_str(), LDAP_SASL_SIMPLE, &credentials, nullptr, nullptr, nullptr);
  if (rc == LDAP_INVALID_CREDENTIALS || rc == LDAP_INAPPROPRIATE_AUTH || rc == LDAP_UNWILLING_TO_PERFORM)
    throw DirectoryError(Kind::refused, server_ + ": bind as \"" + dn + "\" refused: " + explain(rc) +
                                            " (check the bind DN and the password file)");
  if (rc != LDAP_SUCCESS)
    throw DirectoryError(connectionLost(rc) ? Kind::unreachable : Kind::refused, server_ + ": " + explain(rc));
}

LdapSession::~LdapSession() {
  if (ld_ != nullptr) ldap_unbind_ext_s(ld_, nullptr, nullptr);
}

std::string LdapSession::explain(int code) const {
  std::string text = ldap_err2string(code);
  char* diagnostic = nullptr;
  if (ld_ != nullptr && ldap_get_option(ld_, LDAP_OPT_DIAGNOSTIC_MESSAGE, &diagnostic) == LDAP_OPT_SUCCESS && diagnostic) {
    if (*diagnostic != '\0') text += " (" + std::string(diagnostic) + ")";
    ldap_memfree(diagnostic);
  }
  return text;
}

int LdapSession::checkConnection(int code) {
  if (connectionLost(code)) throw DirectoryError(Kind::unreachable, server_ + ": " + explain(code));
  return code;
}

void LdapSession::search(const std::string& base, int scope, const std::string& filter,
                         const std::vector<std::string>& attributes, const std::function<void(DirectoryEntry&&)>& visit) {
  std::vector<char*> names;
  for (const auto& name : attributes) names.push_back(const_cast<char*>(name.c_str()));
  names.push_back(nullptr);
  berval cookie{};
  std::unique_ptr<berval, void (*)(berval*)> cookieGuard(&cookie, [](berval* c) {
    if (c->bv_val) ber_memfree(c->bv_val);
  });
  do {
    LDAPControl* page = nullptr;
    if (const int rc = ldap_create_page_control(ld_, pageSize_, cookie.bv_val ? &cookie : nullptr, 0, &page); rc != LDAP_SUCCESS)
      throw DirectoryError(Kind::badAnswer, server_ + ": " + explain(rc));
    std::unique_ptr<LDAPControl, void (*)(LDAPControl*)> pageGuard(page, ldap_control_free);
    LDAPControl* controls[] = {page, nullptr};
    LDAPMessage* result = nullptr;
    const int rc = ldap_search_ext_s(ld_, base.c_str(), scope, filter.c_str(), names.data(), 0, controls, nullptr, nullptr,
                                     0, &result);
    std::unique_ptr<LDAPMessage, int (*)(LDAPMessage*)> resultGuard(result, ldap_msgfree);
    if (rc == LDAP_NO_SUCH_OBJECT) return;
    if (rc != LDAP_SUCCESS) {
      checkConnection(rc);
      throw DirectoryError(rc == LDAP_INSUFFICIENT_ACCESS ? Kind::refused : Kind::badAnswer,
                           server_ + ": search below \"" + base + "\" failed: " + explain(rc));
    }
    for (LDAPMessage* m = ldap_first_entry(ld_, result); m != nullptr; m = ldap_next_entry(ld_, m)) {
      if (++seen_ > limits_.maxEntries)
        throw DirectoryError(Kind::badAnswer, server_ + ": more than " + std::to_string(limits_.maxEntries) + " entries");
      DirectoryEntry entry;
      if (char* dn = ldap_get_dn(ld_, m)) {
        entry.dn = dn;
        ldap_memfree(dn);
      }
      if (entry.dn.size() > limits_.maxDnBytes)
        throw DirectoryError(Kind::badAnswer, server_ + ": a DN longer than " + std::to_string(limits_.maxDnBytes) + " bytes");
      BerElement* ber = nullptr;
      for (char* a = ldap_first_attribute(ld_, m, &ber); a != nullptr; a = ldap_next_attribute(ld_, m, ber)) {
        std::string name = a;
        ldap_memfree(a);
        for (char& c : name) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
        berval** values = ldap_get_values_len(ld_, m, name.c_str());
        std::vector<std::string>& into = entry.attributes[name];
        for (berval** v = values; v != nullptr && *v != nullptr; ++v) {
          if (into.size() >= limits_.maxValuesPerAttribute || (*v)->bv_len > limits_.maxValueBytes) {
            ldap_value_free_len(values);
            if (ber) ber_free(ber, 0);
            throw DirectoryError(Kind::badAnswer, server_ + ": entry \"" + entry.dn + "\": attribute " + name +
                                                      " beyond the limits (values or bytes)");
          }
          into.emplace_back((*v)->bv_val, (*v)->bv_len);
        }
        ldap_value_free_len(values);
      }
      if (ber) ber_free(ber, 0);
      visit(std::move(entry));
    }
    // The next page, if the server says there is one.
    LDAPControl** returned = nullptr;
    int code = LDAP_SUCCESS;
    if (ldap_parse_result(ld_, result, &code, nullptr, nullptr, nullptr, &returned, 0) != LDAP_SUCCESS)
      throw DirectoryError(Kind::badAnswer, server_ + ": an answer that cannot be read");
    std::unique_ptr<LDAPControl*, void (*)(LDAPControl**)> returnedGuard(returned, ldap_controls_free);
    if (cookie.bv_val) {
      ber_memfree(cookie.bv_val);
      cookie = berval{};
    }
    LDAPControl* response = returned ? ldap_control_find(LDAP_CONTROL_PAGEDRESULTS, returned, nullptr) : nullptr;
    if (response == nullptr) break;  // a server without paging sent everything at once
    ber_int_t estimate = 0;
    if (ldap_parse_pageresponse_control(ld_, response, &estimate, &cookie) != LDAP_SUCCESS)
      throw DirectoryError(Kind::badAnswer, server_ + ": a paged answer that cannot be read");
  } while (cookie.bv_val != nullptr && cookie.bv_len > 0);
}

namespace {

// The LDAPMod array of an add or replace, owning its strings' pointers.
class Mods {
 public:
  void add(int op, const std::string& name, const std::vector<std::string>& values) {
    auto& vals = values_.emplace_back();
    for (const auto& v : values) vals.push_back(const_cast<char*>(v.c_str()));
    vals.push_back(nullptr);
    mods_.push_back(LDAPMod{op, const_cast<char*>(name.c_str()), {nullptr}});
  }
  LDAPMod** get() {
    pointers_.clear();
    for (std::size_t i = 0; i < mods_.size(); ++i) {
      mods_[i].mod_vals.modv_strvals = values_[i].size() > 1 ? values_[i].data() : nullptr;
      pointers_.push_back(&mods_[i]);
    }
    pointers_.push_back(nullptr);
    return pointers_.data();
  }

 private:
  std::vector<LDAPMod> mods_;
  std::vector<std::vector<char*>> values_;
  std::vector<LDAPMod*> pointers_;
};

}  // namespace

int LdapSession::add(const DirectoryEntry& entry) {
  Mods mods;
  for (const auto& [name, values] : entry.attributes) mods.add(LDAP_MOD_ADD, name, values);
  return checkConnection(ldap_add_ext_s(ld_, entry.dn.c_str(), mods.get(), nullptr, nullptr));
}

int LdapSession::replace(const std::string& dn, const std::vector<Replacement>& changes) {
  Mods mods;
  for (const auto& change : changes) mods.add(LDAP_MOD_REPLACE, change.name, change.values);
  return checkConnection(ldap_modify_ext_s(ld_, dn.c_str(), mods.get(), nullptr, nullptr));
}

int LdapSession::remove(const std::string& dn) {
  return checkConnection(ldap_delete_ext_s(ld_, dn.c_str(), nullptr, nullptr));
}

}  // namespace telvor::ldap::detail
