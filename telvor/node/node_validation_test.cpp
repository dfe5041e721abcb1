#include "telvor/node/node_validation.hpp"

#include <gtest/gtest.h>

#include <functional>

namespace telvor {
namespace {

DicomNode working() {
  DicomNode n(104);
  n.aetitle = "ARCHIVE";
  n.address = "10.0.0.5";
  return n;
}

void wadoAt(DicomNode& n, const char* url) {
  n.retrieveMode = RetrieveModeType::wado;
  n.wadoSettings.url = url;
  n.wadoSettings.https = true;
}

std::vector<NodeProblemCode> codes(const DicomNode& n) {
  std::vector<NodeProblemCode> out;
  for (const auto& p : validate(n)) out.push_back(p.code);
  return out;
}

TEST(NodeValidation, RulesAsATable) {
  using C = NodeProblemCode;
  const std::pair<std::function<void(DicomNode&)>, std::vector<C>> cases[] = {
      {[](auto&) {}, {}},
      {[](auto& n) { n.aetitle = " ARCHIVE "; }, {}},
      {[](auto& n) { n.aetitle = "ABCDEFGHIJKLMNOP"; }, {}},
      {[](auto& n) { n.aetitle = "  ABCDEFGHIJKLMNOP  "; }, {}},
      {[](auto& n) { n.aetitle.reset(); }, {C::aetitleMissing}},
      {[](auto& n) { n.aetitle = ""; }, {C::aetitleEmpty}},
      {[](auto& n) { n.aetitle = "    "; }, {C::aetitleAllSpaces}},
      {[](auto& n) { n.aetitle = "ABCDEFGHIJKLMNOPQ"; }, {C::aetitleTooLong}},
      {[](auto& n) { n.aetitle = "A\\B"; }, {C::aetitleInvalidCharacter}},
      {[](auto& n) { n.aetitle = "A\tB"; }, {C::aetitleInvalidCharacter}},
      {[](auto& n) { n.aetitle = "CAF\u00c9"; }, {C::aetitleInvalidCharacter}},
      {[](auto& n) { n.aetitle = "ABCDEFGHIJKLMNOPQ\x7F"; }, {C::aetitleTooLong, C::aetitleInvalidCharacter}},
      {[](auto& n) { n.port.reset(); }, {C::portMissing}},
      {[](auto& n) { n.port = "65535"; }, {}},
      {[](auto& n) { n.port = "1"; }, {}},
      {[](auto& n) { n.port = "0"; }, {C::portInvalid}},
      {[](auto& n) { n.port = "65536"; }, {C::portInvalid}},
      {[](auto& n) { n.port = "-1"; }, {C::portInvalid}},
      {[](auto& n) { n.port = " 104"; }, {C::portInvalid}},
      {[](auto& n) { n.port = ""; }, {C::portInvalid}},
      {[](auto& n) { n.port = "99999999999999999999"; }, {C::portInvalid}},
      {[](auto& n) { n.address.reset(); }, {C::addressMissing}},
      {[](auto& n) { n.address = ""; }, {C::addressEmpty}},
      // IPv6 addresses are hosts, with or without brackets; a port or a scheme is not.
      {[](auto& n) { n.address = "::1"; }, {}},
      {[](auto& n) { n.address = "[::1]"; }, {}},
      {[](auto& n) { n.address = "fe80::1:104"; }, {}},
      {[](auto& n) { n.address = "pacs.example.org"; }, {}},
      {[](auto& n) { n.address = "127.0.0.1:21100"; }, {C::addressWithPort}},
      {[](auto& n) { n.address = "pacs:104"; }, {C::addressWithPort}},
      {[](auto& n) { n.address = "[::1]:104"; }, {C::addressWithPort}},
      {[](auto& n) { n.address = "dicom://pacs"; }, {C::addressWithScheme}},
      {[](auto& n) { n.address = "https://pacs:443/x"; }, {C::addressWithScheme}},
      {[](auto& n) { n.retrieveMode = RetrieveModeType::wado; }, {C::wadoUrlMissing}},
      {[](auto& n) { n.retrieveMode = RetrieveModeType::wado, n.wadoSettings.url = ""; }, {C::wadoUrlMissing}},
      {[](auto& n) { wadoAt(n, "https://pacs/wado"); }, {}},
      {[](auto& n) { n.wadoSettings.url.reset(); }, {}},
      // A WADO node's URL is a web URL with a host, its scheme as the HTTPS setting says.
      {[](auto& n) { wadoAt(n, "HTTPS://user@[::1]:8443/wado?x=1"), n.wadoSettings.port = 0; }, {}},
      {[](auto& n) { wadoAt(n, "wado"); }, {C::wadoUrlInvalid}},  // a property list's placeholder
      {[](auto& n) { wadoAt(n, "https:///wado"); }, {C::wadoUrlInvalid}},
      {[](auto& n) { wadoAt(n, "https://pacs:99999/wado"); }, {C::wadoUrlInvalid}},
      {[](auto& n) { wadoAt(n, "http://pacs/wado"); }, {C::wadoUrlSchemeMismatch}},
      {[](auto& n) { wadoAt(n, "ftp://pacs"), n.wadoSettings.port = 65536; }, {C::wadoUrlInvalid, C::wadoPortInvalid}},
      {[](auto& n) { n.wadoSettings.url = "wado", n.wadoSettings.port = -3; }, {}},  // only WADO nodes need them
      {[](auto& n) { n.aetitle.reset(), n.port.reset(), n.address.reset(); },
       {C::aetitleMissing, C::portMissing, C::addressMissing}},
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) {
    DicomNode n = working();
    cases[i].first(n);
    const DicomNode before = n;
    EXPECT_EQ(codes(n), cases[i].second) << "case " << i;
    EXPECT_EQ(n, before);
  }
}

TEST(NodeValidation, MessagesNameTheValueAndTheFix) {
  DicomNode n = working();
  n.port = "70000";
  const auto problems = validate(n);
  ASSERT_EQ(problems.size(), 1u);
  EXPECT_EQ(problems[0].message, "Port \"70000\" is not a number from 1 to 65535: correct it.");
  EXPECT_EQ(codeName(problems[0].code), "port-invalid");

  n = working();
  n.address = "127.0.0.1:21100";
  const auto withPort = validate(n);
  ASSERT_EQ(withPort.size(), 1u);
  EXPECT_EQ(withPort[0].message,
            "Address \"127.0.0.1:21100\" carries a port of its own: keep only the host name or IP address, and the "
            "port in the port field.");
  EXPECT_EQ(codeName(withPort[0].code), "address-with-port");
}

}  // namespace
}  // namespace telvor
