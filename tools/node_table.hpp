// The table `telvor-nodes list` prints.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "telvor/node/dicom_node.hpp"

namespace telvor::tool {

// The most columns a cell of the table takes; longer texts are cut with "…", so that the
// table grows with the number of nodes, not with the longest text in the catalogue.
inline constexpr std::size_t kMaxCellWidth = 40;

// One row per node under the header Name, AE title, Address, Port, Retrieve, Transfer
// syntax, TLS, WADO; absent values shown as "-". Cells are escaped for the terminal
// (support/terminal_text.hpp) and cut to kMaxCellWidth; columns are padded to the display
// width of their widest cell; a WADO URL's password is masked.
std::string formatNodeTable(const std::vector<DicomNode>& nodes);

}  // namespace telvor::tool
