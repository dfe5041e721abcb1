#include "directory_io.hpp"

#include <cmath>
#include <iostream>

#include "io.hpp"
#include "telvor/catalogue/bounded_input.hpp"
#include "support/terminal_text.hpp"
#include "tool_error.hpp"

namespace telvor::tool {

ldap::DirectoryAccess directoryAccess(const std::string& url, const DirectoryOptions& options) {
  if (options.bindDn.has_value() != options.passwordFile.has_value())
    throw UsageError("--bind-dn and --password-file go together (anonymous without both)");
  if (!(options.timeoutSeconds > 0 && options.timeoutSeconds <= 3600))
    throw UsageError("--timeout must be above 0 and at most 3600 seconds");
  ldap::DirectoryAccess access;
  access.url = url;
  access.bindDn = options.bindDn;
  access.caFile = options.caFile;
  access.startTls = options.startTls;
  access.timeout = std::chrono::milliseconds(static_cast<long long>(std::ceil(options.timeoutSeconds * 1000)));
  if (options.passwordFile) {
    std::string secret = readInput(*options.passwordFile, 4096);
    // The first line is the password; editors end files with a newline.
    if (const auto end = secret.find_first_of("\r\n"); end != std::string::npos) secret.resize(end);
    if (secret.empty())
      throw UsageError(catalogue::inputName(*options.passwordFile) + ": no password in it (an empty password binds as nobody)");
    access.password = std::move(secret);
  }
  return access;
}

int directoryFailure(const ldap::DirectoryError& error, int status, const char* outcome) {
  if (error.kind() == ldap::DirectoryError::Kind::badAddress) throw UsageError(error.what());
  std::cerr << "telvor-nodes: " << escapeForTerminal(error.what()) << " (" << outcome << ")\n";
  return status;
}

}  // namespace telvor::tool
