// Node validation: what would stop a node from working, without changing it.
//
//   for (const auto& problem : telvor::validate(node))
//     std::cerr << problem.message << '\n';   // "AE title is missing: set the peer's ..."
//
// The checks: the AE title follows DICOM's AE value representation (present, not empty,
// not all spaces, at most 16 characters once leading and trailing spaces are removed,
// only printable ASCII without the backslash); the port is present and a decimal number
// from 1 to 65535; the address is present, not empty, and only a host: no port of its own
// ("10.0.0.5:104", "[::1]:104") and no scheme ("dicom://pacs"), which the port field and
// the node's TLS setting stand for (an IPv6 address such as "::1" or "[::1]" is a host);
// a node retrieved over WADO has a WADO URL that is an http:// or https:// URL with a host
// (the scheme agreeing with the node's HTTPS setting) and a WADO port from 1 to 65535 or
// none (absent, or 0 as a property list writes none). The record's own forms accept all of these; only a network peer will not.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "telvor/node/dicom_node.hpp"
#include "telvor/telvor_export.hpp"

namespace telvor {

enum class NodeProblemCode {
  aetitleMissing,
  aetitleEmpty,
  aetitleAllSpaces,
  aetitleTooLong,
  aetitleInvalidCharacter,
  portMissing,
  portInvalid,
  addressMissing,
  addressEmpty,
  addressWithPort,
  addressWithScheme,
  wadoUrlMissing,
  wadoUrlInvalid,
  wadoUrlSchemeMismatch,
  wadoPortInvalid,
};

// A stable machine-readable name for the code, such as "aetitle-too-long".
TELVOR_API std::string_view codeName(NodeProblemCode code) noexcept;

struct NodeProblem {
  NodeProblemCode code;
  std::string message;  // what is wrong and what to do about it
  friend bool operator==(const NodeProblem&, const NodeProblem&) = default;
};

// The AE-title rule, shared by validation and the probes: 1 to 16 characters once leading
// and trailing spaces are dropped, printable ASCII without the backslash. Gives the title
// without those spaces, or nothing when it breaks the rule.
TELVOR_API std::optional<std::string_view> significantAeTitle(std::string_view title) noexcept;

// The port rule: decimal digits only, 1 to 65535. Gives the number, or nothing.
TELVOR_API std::optional<std::uint16_t> portNumber(std::string_view text) noexcept;

// Every problem of the node, in field order (AE title, port, address, WADO); empty when
// there is none. Never throws for any field value.
TELVOR_API std::vector<NodeProblem> validate(const DicomNode& node);

}  // namespace telvor
