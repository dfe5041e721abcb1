// The FIELD OPTIONS of `add` and `set`: one option per field of a node and of its TLS and
// WADO settings, declared on a CLI11 command and applied to a node once parsed.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "telvor/node/dicom_node.hpp"

namespace CLI {
class App;
}

namespace telvor::tool {

struct FieldOptions {
  // Text as typed; checked and converted by apply(). --name and --aet are vectors because
  // in `set` the first of them may be the selector (see edit_commands.cpp).
  std::vector<std::string> name, aet;
  std::optional<std::string> address, port, transferSyntax, retrieve, queryable, icon, tls, tlsProfile,
      verifyPeer, clientCertificate, wadoUrl, wadoUser, wadoSyntax, https, wadoPasswordFile;
  std::optional<std::int64_t> wadoPort;
  bool wadoPasswordStdin = false;
  std::optional<std::string> password;  // filled by readSecrets()

  // Reads the WADO password from standard input or its file, when asked to; called before
  // a catalogue is locked, so that no lock is held while a user types. Throws InputError.
  void readSecrets();

  // True when any field option was given.
  bool any() const;
  // Sets the fields given on `node` (values were checked while parsing).
  void apply(DicomNode& node) const;
};

// Declares the field options on `command`. With `nameAndAetRepeat`, --name and --aet may
// be given twice (selector, then new value).
void addFieldOptions(CLI::App& command, FieldOptions& fields, bool nameAndAetRepeat);

}  // namespace telvor::tool
