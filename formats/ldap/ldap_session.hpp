// A connection to a directory through libldap: connect, StartTLS, bind, paged searches and
// writes, every failure turned into a DirectoryError. Internal to the directory unit.
#pragma once

#include <ldap.h>

#include <functional>
#include <string>
#include <vector>

#include "telvor/ldap/directory.hpp"

namespace telvor::ldap::detail {

// One modification: replace attribute `name` by `values` (none: remove it).
struct Replacement {
  std::string name;
  std::vector<std::string> values;
};

class LdapSession {
 public:
  // Connects, upgrades with StartTLS when asked, and binds. Throws DirectoryError.
  explicit LdapSession(const DirectoryAccess& access);
  ~LdapSession();
  LdapSession(const LdapSession&) = delete;
  LdapSession& operator=(const LdapSession&) = delete;

  // The base DN the URL names.
  const std::string& base() const noexcept { return base_; }

  // Every entry a search finds, page by page; `visit` sees each. Scope is LDAP_SCOPE_*.
  // A base that does not exist finds nothing. Throws DirectoryError.
  void search(const std::string& base, int scope, const std::string& filter, const std::vector<std::string>& attributes,
              const std::function<void(DirectoryEntry&&)>& visit);

  // Writes; each returns the LDAP result code (LDAP_SUCCESS, LDAP_ALREADY_EXISTS, ...)
  // and throws DirectoryError only when the connection is lost.
  int add(const DirectoryEntry& entry);
  int replace(const std::string& dn, const std::vector<Replacement>& changes);
  int remove(const std::string& dn);

  // The server's words on the last failed operation, with libldap's name for `code`.
  std::string explain(int code) const;

 private:
  void setUp(const DirectoryAccess& access);  // options, TLS and bind on the initialised handle
  int checkConnection(int code);
  LDAP* ld_ = nullptr;
  std::string server_;  // scheme://host:port, for messages
  std::string base_;
  DirectoryLimits limits_;
  int pageSize_;
  std::size_t seen_ = 0;  // entries read in this session
};

}  // namespace telvor::ldap::detail
