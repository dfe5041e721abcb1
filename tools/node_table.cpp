#include "node_table.hpp"

#include <array>
#include <functional>
#include <string_view>

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
  std::string_view header;
  Cell cell;
};

const std::array<Column, 8>& columns() {
  static const std::array<Column, 8> table{{
      {fieldLabel(&DicomNode::name), [](const DicomNode& n) { return orDash(n.name); }},
      {fieldLabel(&DicomNode::aetitle), [](const DicomNode& n) { return orDash(n.aetitle); }},
      {fieldLabel(&DicomNode::address), [](const DicomNode& n) { return orDash(n.address); }},
      {fieldLabel(&DicomNode::port), [](const DicomNode& n) { return orDash(n.port); }},
      {fieldLabel(&DicomNode::retrieveMode), [](const DicomNode& n) { return std::string(title(n.retrieveMode)); }},
      {fieldLabel(&DicomNode::transferSyntax), [](const DicomNode& n) { return std::string(title(n.transferSyntax)); }},
      {fieldLabel(&TlsSettings::isEnabled), tlsCell},
      {"WADO", wadoCell},
  }};
  return table;
}

}  // namespace

std::string formatNodeTable(const std::vector<DicomNode>& nodes) {
  const auto& cols = columns();
  // The first column is the node's 1-based position, as --index selects it.
  std::vector<std::array<std::string, 9>> rows;
  std::array<std::string, 9> header{"#"};
  for (std::size_t c = 0; c < cols.size(); ++c) header[c + 1] = cols[c].header;
  rows.push_back(header);
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    std::array<std::string, 9> row{std::to_string(i + 1)};
    for (std::size_t c = 0; c < cols.size(); ++c) row[c + 1] = terminalCell(cols[c].cell(nodes[i]), kMaxCellWidth);
    rows.push_back(std::move(row));
  }
  std::array<std::size_t, 9> widths{};
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
