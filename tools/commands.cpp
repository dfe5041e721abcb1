#include "commands.hpp"

#include "io.hpp"
#include "node_table.hpp"
#include "records.hpp"
#include "support/checked_output.hpp"
#include "support/terminal_text.hpp"
#include "telvor/node/dicom_node.hpp"
#include "telvor/node/node_validation.hpp"
#include "telvor/presentation/version.hpp"
#include "telvor/status/dicom_node_status.hpp"
#include "tool_error.hpp"

namespace telvor::tool {
namespace {

// The nodes of FILE, or of the bundled sample catalogue when no file is named.
Records<DicomNode> readNodes(const Options& options) {
  if (!options.input) return readRecords<DicomNode>(sampleCatalogue(), Format::plist);
  const std::string bytes = readInput(*options.input, options.maxInputBytes);
  return readRecords<DicomNode>(bytes, inputFormat(options.from, *options.input, bytes));
}

// --to, else the output file's extension, else the other format than the input's
// (statuses stay JSON).
Format outputFormat(const Options& options, Format from) {
  if (options.to) return *options.to;
  if (options.output)
    if (const auto byExtension = formatOfPath(*options.output)) return *byExtension;
  if (options.type == RecordType::status) return Format::json;
  return from == Format::json ? Format::plist : Format::json;
}

template <class T>
int convert(const Options& options, const std::string& bytes, Format from) {
  const Format to = outputFormat(options, from);
  if (options.binary && to != Format::plist) throw UsageError("--binary applies to property lists only");
  const auto records = readRecords<T>(bytes, from);
  writeOutput(options.output, writeRecords(records, to, options.binary), options.followSymlinks);
  return 0;
}

}  // namespace

int runList(const Options& options) {
  writeStandardOutput(formatNodeTable(readNodes(options).values));
  return 0;
}

int runConvert(const Options& options) {
  const std::string path = options.input.value_or("-");
  const std::string bytes = readInput(path, options.maxInputBytes);
  const Format from = inputFormat(options.from, path, bytes);
  switch (options.type) {
    case RecordType::node: return convert<DicomNode>(options, bytes, from);
    case RecordType::tls: return convert<TlsSettings>(options, bytes, from);
    case RecordType::wado: return convert<WadoSettings>(options, bytes, from);
    case RecordType::status: return convert<DicomNodeStatus>(options, bytes, from);
  }
  return 2;
}

int runCheck(const Options& options) {
  const auto nodes = readNodes(options).values;
  bool clean = true;
  std::string out;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    const auto label = nodes[i].name ? escapeForTerminal(*nodes[i].name) : "node " + std::to_string(i + 1);
    const auto problems = validate(nodes[i]);
    if (problems.empty()) out += label + ": ok\n";
    for (const auto& problem : problems)
      out += label + ": " + std::string(codeName(problem.code)) + ": " + escapeForTerminal(problem.message) + '\n';
    clean = clean && problems.empty();
  }
  writeStandardOutput(out);
  return clean ? 0 : 1;
}

int runVersion() {
  // The library's identification line, without the "@(#)" marker that finds it in binaries.
  const std::string_view line(reinterpret_cast<const char*>(TelvorVersionString) + 4, sizeof TelvorVersionString - 5);
  writeStandardOutput("telvor-nodes " TELVOR_VERSION_TEXT " (" + std::string(line.substr(0, line.size() - 1)) + ")\n");
  return 0;
}

}  // namespace telvor::tool
