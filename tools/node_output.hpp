// How read commands print one node: `show`'s field list and the JSON entry that `list`,
// `show` and `check` share. The WADO password is never printed: only whether it is set.
#pragma once

#include <boost/json/object.hpp>

#include <cstddef>
#include <string>

#include "telvor/node/dicom_node.hpp"

namespace telvor::tool {

// "set", "empty" or "absent".
std::string_view passwordState(const DicomNode& node) noexcept;

// {"index": N, "node": CODED FORM without secrets (URL passwords masked), "wadoPassword": STATE}.
// Without `withIdentifier` (property lists, whose identifiers are drawn at each read) the
// coded form leaves "uniqueId" out.
boost::json::object nodeEntry(const DicomNode& node, std::size_t index, bool withIdentifier);

// Every field of the node in its field table's order, nested records' fields in their
// place: one "Label: value" line each, labels aligned, secrets shown only as their state.
std::string formatNodeFields(const DicomNode& node, std::size_t index, bool withIdentifier);

}  // namespace telvor::tool
