// import --from ldap and export --to ldap: the tool's options turned into a directory
// access, and the directory's errors into the tool's.
#pragma once

#include <span>
#include <string>

#include "peers_commands.hpp"
#include "telvor/ldap/directory.hpp"

namespace telvor::tool {

// The access for `url` with the options' bind, password (read from its file: the first
// line, at most 4 KiB) and TLS. Throws UsageError for options that do not go together
// and InputError for an unreadable password file.
ldap::DirectoryAccess directoryAccess(const std::string& url, const DirectoryOptions& options);

// What a DirectoryError means for the tool: a bad URL is usage (status 2); otherwise
// `status`, with the error's message and `outcome` ("nothing written") printed first.
int directoryFailure(const ldap::DirectoryError& error, int status, const char* outcome);

}  // namespace telvor::tool
