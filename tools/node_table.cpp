#include "node_table.hpp"

#include <array>
#include <functional>

#include "support/terminal_text.hpp"

namespace telvor::tool {
namespace {

using Cell = std::function<std::string(const DicomNode&)>;

std::string orDash(const std::optional<std::string>& text) { return text ? *text : "-"; }

std::string tlsCell(const DicomNode& n) {
  if (!n.tlsSettings || !n.tlsSettings->isEnabled) return "off";
  return "profile " + std::to_string(rawValue(n.tlsSettings->securityProfile));
}

std::string wadoCell(const DicomNode& n) {
  std::string cell = n.wadoSettings.url ? maskUrlPassword(*n.wadoSettings.url) : "-";
  if (n.wadoSettings.https) cell += " https";
  return cell;
}

struct Column {
  const char* header;
  Cell cell;
};

const std::array<Column, 8>& columns() {
  static const std::array<Column, 8> table{{
      {"Name", [](const DicomNode& n) { return orDash(n.name); }},
      {"AE title", [](const DicomNode& n) { return orDash(n.aetitle); }},
      {"Address", [](const DicomNode& n) { return orDash(n.address); }},
      {"Port", [](const DicomNode& n) { return orDash(n.port); }},
      {"Retrieve", [](const DicomNode& n) { return std::string(title(n.retrieveMode)); }},
      {"Transfer syntax", [](const DicomNode& n) { return std::string(title(n.transferSyntax)); }},
      {"TLS", tlsCell},
      {"WADO", wadoCell},
  }};
  return table;
}

}  // namespace

std::string formatNodeTable(const std::vector<DicomNode>& nodes) {
  const auto& cols = columns();
  std::vector<std::array<std::string, 8>> rows;
  std::array<std::string, 8> header;
  for (std::size_t c = 0; c < cols.size(); ++c) header[c] = cols[c].header;
  rows.push_back(header);
  for (const auto& node : nodes) {
    std::array<std::string, 8> row;
    for (std::size_t c = 0; c < cols.size(); ++c) row[c] = terminalCell(cols[c].cell(node), kMaxCellWidth);
    rows.push_back(std::move(row));
  }
  std::array<std::size_t, 8> widths{};
  for (const auto& row : rows)
    for (std::size_t c = 0; c < row.size(); ++c) widths[c] = std::max(widths[c], displayWidth(row[c]));
  std::string out;
  for (const auto& row : rows) {
    std::string line;
    for (std::size_t c = 0; c < row.size(); ++c) {
      line += row[c];
      if (c + 1 < row.size()) line.append(widths[c] - displayWidth(row[c]) + 2, ' ');
    }
    out += line;
    out += '\n';
  }
  return out;
}

}  // namespace telvor::tool
