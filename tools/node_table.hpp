// The table `telvor-nodes list` prints.
#pragma once

#include <string>
#include <vector>

#include "telvor/node/dicom_node.hpp"

namespace telvor::tool {

// One row per node under the header # (the 1-based position), Name, AE title, Address, Port, Retrieve, Transfer
// syntax, TLS, WADO; columns padded to their widest cell; absent values shown as "-".
std::string formatNodeTable(const std::vector<DicomNode>& nodes);

}  // namespace telvor::tool
