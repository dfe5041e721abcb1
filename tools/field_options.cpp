#include "field_options.hpp"

#include <CLI/CLI.hpp>

#include <iostream>
#include <iterator>
#include <fstream>

#include "case_names.hpp"
#include "tool_error.hpp"

namespace telvor::tool {
namespace {

bool yes(const std::string& value) { return value == "yes" || value == "on"; }

TlsSettings& tlsOf(DicomNode& node) {
  if (!node.tlsSettings) node.tlsSettings = TlsSettings();
  return *node.tlsSettings;
}

// A password as a file or standard input holds it: one trailing line break is not part of it.
std::string withoutLineBreak(std::string text) {
  if (text.ends_with('\n')) text.pop_back();
  if (text.ends_with('\r')) text.pop_back();
  return text;
}

std::string readPassword(const FieldOptions& f) {
  if (f.wadoPasswordStdin) {
    std::string text((std::istreambuf_iterator<char>(std::cin)), std::istreambuf_iterator<char>());
    return withoutLineBreak(std::move(text));
  }
  std::ifstream file(*f.wadoPasswordFile, std::ios::binary);
  if (!file) throw InputError("cannot read the password file \"" + *f.wadoPasswordFile + "\"");
  std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  return withoutLineBreak(std::move(text));
}

const CLI::IsMember kYesNo(std::vector<std::string>{"yes", "no"});

CLI::Validator transferSyntaxCheck() {
  return CLI::Validator(
      [](std::string& text) {
        return parseTransferSyntax(text) ? std::string() : "not a transfer syntax code, case name or title: " + text;
      },
      "CODE|NAME|TITLE");
}

CLI::Validator wadoSyntaxCheck() {
  return CLI::Validator(
      [](std::string& text) {
        return parseWadoSyntax(text) ? std::string() : "not a WADO transfer syntax code, case name or title: " + text;
      },
      "CODE|NAME|TITLE");
}

}  // namespace

bool FieldOptions::any() const {
  return !name.empty() || !aet.empty() || address || port || transferSyntax || retrieve || queryable || icon || tls ||
         tlsProfile || verifyPeer || clientCertificate || wadoUrl || wadoUser || wadoSyntax || https ||
         wadoPasswordFile || wadoPort || wadoPasswordStdin;
}

void FieldOptions::readSecrets() {
  if (wadoPasswordStdin || wadoPasswordFile) password = readPassword(*this);
}

void FieldOptions::apply(DicomNode& node) const {
  if (!name.empty()) node.name = name.back();
  if (!aet.empty()) node.aetitle = aet.back();
  if (address) node.address = *address;
  if (port) node.port = *port;
  if (transferSyntax) node.transferSyntax = *parseTransferSyntax(*transferSyntax);
  if (retrieve)
    node.retrieveMode = *retrieve == "cmove" ? RetrieveModeType::cmove
                        : *retrieve == "wado" ? RetrieveModeType::wado
                                              : RetrieveModeType::cget;
  if (queryable) {
    if (*queryable == "unset") node.isQueryable.reset();
    else node.isQueryable = yes(*queryable);
  }
  if (icon) {
    if (icon->empty()) node.icon.reset();
    else node.icon = *icon;
  }
  if (tls) tlsOf(node).isEnabled = yes(*tls);
  if (tlsProfile) tlsOf(node).securityProfile = *fromRawValue<TLSSecurityProfile>(std::stoll(*tlsProfile));
  if (verifyPeer) tlsOf(node).verifyPeerCertificate = yes(*verifyPeer);
  if (clientCertificate) tlsOf(node).authenticateWithCertificate = yes(*clientCertificate);
  if (wadoUrl) node.wadoSettings.url = *wadoUrl;
  if (wadoPort) node.wadoSettings.port = *wadoPort;
  if (wadoUser) node.wadoSettings.username = *wadoUser;
  if (wadoSyntax) node.wadoSettings.retrieveSyntax = *parseWadoSyntax(*wadoSyntax);
  if (https) node.wadoSettings.https = yes(*https);
  if (password) node.wadoSettings.password = *password;
}

void addFieldOptions(CLI::App& command, FieldOptions& f, bool nameAndAetRepeat) {
  const auto policy = nameAndAetRepeat ? CLI::MultiOptionPolicy::TakeAll : CLI::MultiOptionPolicy::Throw;
  CLI::App* group = &command;
  group->add_option("--name", f.name, "the node's name")->expected(1)->multi_option_policy(policy);
  group->add_option("--aet", f.aet, "the peer's application entity title")->expected(1)->multi_option_policy(policy);
  group->add_option("--address", f.address, "the peer's host name or IP address");
  group->add_option("--port", f.port, "the peer's DICOM port");
  group->add_option("--transfer-syntax", f.transferSyntax, "transfer syntax to propose: code, case name or title")
      ->check(transferSyntaxCheck());
  group->add_option("--retrieve", f.retrieve, "how studies are retrieved")
      ->check(CLI::IsMember({"cmove", "cget", "wado"}));
  group->add_option("--queryable", f.queryable, "whether the node answers queries")
      ->check(CLI::IsMember({"yes", "no", "unset"}));
  group->add_option("--icon", f.icon, "the icon's name (empty: none)");
  group->add_option("--tls", f.tls, "use TLS")->check(CLI::IsMember({"on", "off"}));
  group->add_option("--tls-profile", f.tlsProfile, "TLS security profile")->check(CLI::IsMember({"0", "1", "2", "3", "4", "5"}));
  group->add_option("--verify-peer", f.verifyPeer, "verify the peer's TLS certificate")->check(kYesNo);
  group->add_option("--client-certificate", f.clientCertificate, "authenticate with a client certificate")
      ->check(kYesNo);
  group->add_option("--wado-url", f.wadoUrl, "the WADO service's URL (http:// or https://, as --https says)");
  group->add_option("--wado-port", f.wadoPort, "the WADO service's port")->check(CLI::Range(1, 65535));
  group->add_option("--wado-user", f.wadoUser, "the WADO user name");
  group->add_option("--wado-syntax", f.wadoSyntax, "WADO retrieve syntax: code, case name or title")
      ->check(wadoSyntaxCheck());
  group->add_option("--https", f.https, "reach WADO over HTTPS")->check(kYesNo);
  auto* stdinFlag =
      group->add_flag("--wado-password-stdin", f.wadoPasswordStdin, "read the WADO password from standard input");
  group->add_option("--wado-password-file", f.wadoPasswordFile, "read the WADO password from FILE")
      ->excludes(stdinFlag);
  for (auto* option : command.get_options())
    if (option->get_group() == "Options" && option->get_name() != "--help") option->group("Field options");
}

}  // namespace telvor::tool
