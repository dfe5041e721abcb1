// convert: records between the dictionary form (property lists) and the coded form (JSON).
#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <map>
#include <memory>
#include <set>
#include <string_view>
#include <vector>

#include "command.hpp"
#include "commands.hpp"
#include "io.hpp"
#include "plist_io.hpp"
#include "records.hpp"
#include "telvor/json/json.hpp"
#include "telvor/node/dicom_node.hpp"
#include "telvor/status/dicom_node_status.hpp"
#include "support/terminal_text.hpp"
#include "telvor/catalogue/bounded_input.hpp"
#include "tool_error.hpp"

namespace telvor::tool {
namespace {

// --to, else the output file's extension, else the other format than the input's
// (statuses stay JSON).
Format outputFormat(const Options& options, Format from) {
  if (options.to) return *options.to;
  if (options.output)
    if (const auto byExtension = formatOfPath(*options.output)) return *byExtension;
  if (options.type == RecordType::status) return Format::json;
  return from == Format::json ? Format::plist : Format::json;
}

// Integers and number objects are one kind once in a property list.
bool sameValue(const PropertyValue& a, const PropertyValue& b) {
  const auto number = [](const PropertyValue& v) { return v.integerValue() ? v.integerValue() : v.numberObjectValue(); };
  if (number(a) && number(b)) return number(a) == number(b);
  return a == b;
}

// How many entries of the input the converted nodes do not give back: for a property
// list, the keys whose value the node's dictionary form does not write again (unknown
// keys, a C-MOVE node's saved WADO keys, values read leniently); for JSON, the members
// the coded form does not know (a name given twice counts once). One dictionary, or the
// names of one object, at a time: counting holds no more than reading did.
// The keys left out, each with the number of records it is left out of.
using Dropped = std::map<std::string, std::size_t, std::less<>>;

Dropped droppedEntries(const std::string& bytes, Format from) {
  Dropped dropped;
  if (from == Format::plist) {
    readPlist(bytes, [&](PropertyDictionary&& stored) {
      const auto written = DicomNode(stored).toDictionary();
      for (const auto& [key, value] : stored) {
        const PropertyValue* again = written ? written->find(key) : nullptr;
        if (again == nullptr || !sameValue(*again, value)) ++dropped[std::string(key)];
      }
    });
    return dropped;
  }
  static constexpr auto keys = fieldKeys<DicomNode>();
  static const std::set<std::string_view, std::less<>> known(keys.begin(), keys.end());
  std::vector<std::string_view> unknown;
  const auto countIn = [&](const DecoderBackend& backend, DecoderBackend::Position root) {
    const auto count = [&](DecoderBackend::Position value) {
      if (backend.kind(value) != DecoderBackend::ValueKind::keyed) return;
      unknown.clear();
      for (std::size_t i = 0, n = backend.entryCount(value); i < n; ++i)
        if (const auto name = backend.entryName(value, i); !known.contains(name)) unknown.push_back(name);
      std::sort(unknown.begin(), unknown.end());
      unknown.erase(std::unique(unknown.begin(), unknown.end()), unknown.end());
      for (const auto name : unknown) ++dropped[std::string(name)];
    };
    if (backend.kind(root) == DecoderBackend::ValueKind::unkeyed)
      for (std::size_t i = 0, n = backend.elementCount(root); i < n; ++i) count(backend.element(root, i));
    else
      count(root);
  };
  // The text was read, so it is JSON; simdjson refuses only integers beyond 64 bits.
  bool parsed = false;
  {
    json::SimdjsonDocument document;
    parsed = document.parse(bytes, bytes.capacity() - bytes.size() >= json::SimdjsonDocument::kPadding);
    if (parsed) countIn(document.backend(), document.root());
  }
  json::SimdjsonDocument::releaseKeptBuffers();
  if (!parsed) {
    boost::json::monotonic_resource scratch;
    const auto document = json::parse(bytes, &scratch);
    countIn(json::JsonDecoderBackend(), &document);
  }
  return dropped;
}

template <class T>
int convert(const Options& options, const std::string& bytes, Format from) {
  const Format to = outputFormat(options, from);
  if (options.binary && to != Format::plist) throw UsageError("--binary applies to property lists only");
  try {
    if (from == Format::plist && to == Format::json) {
      // Record by record: the nodes never all exist beside the text.
      writeOutput(options.output, convertPlistToJson<T>(bytes), options.followSymlinks);
    } else {
      const auto records = readRecords<T>(bytes, from);
      writeOutput(options.output, writeRecords(records, to, options.binary), options.followSymlinks);
    }
  } catch (const InputError& e) {
    // Name the input: its paths ($[1].port) are only half of where the fault is.
    throw InputError(catalogue::inputName(options.input.value_or("-")) + ": " + e.what());
  }
  if constexpr (std::is_same_v<T, DicomNode>) {
    const Dropped dropped = droppedEntries(bytes, from);
    std::size_t total = 0;
    std::string keys;
    for (const auto& [key, count] : dropped) {
      total += count;
      keys += (keys.empty() ? "" : ", ") + ('"' + key + '"') + (count > 1 ? " (" + std::to_string(count) + " records)" : "");
    }
    if (total > 0)
      std::cerr << "telvor-nodes: note: the output leaves out " << total << " entr" << (total == 1 ? "y" : "ies")
                << " of the input that the node record does not keep (unknown keys, a non-WADO node's saved "
                   "WADO keys, values read leniently): "
                << escapeForTerminal(keys)
                << "; to change a catalogue without losing them, edit it in place with `telvor-nodes set`\n";
  }
  return kSuccess;
}

}  // namespace

int runConvert(const Options& options) {
  if (options.type == RecordType::status && (options.from == Format::plist || options.to == Format::plist))
    throw UsageError("statuses exist only as JSON");
  if (options.binary && options.to == Format::json) throw UsageError("--binary applies to property lists only");
  const std::string path = options.input.value_or("-");
  std::string bytes = readInput(path, options.maxInputBytes);
  const Format from = inputFormat(options.from, path, bytes);
  if (from == Format::json) padForReading(bytes);
  switch (options.type) {
    case RecordType::node: return convert<DicomNode>(options, bytes, from);
    case RecordType::tls: return convert<TlsSettings>(options, bytes, from);
    case RecordType::wado: return convert<WadoSettings>(options, bytes, from);
    case RecordType::status: return convert<DicomNodeStatus>(options, bytes, from);
  }
  return kUsage;
}

CommandSpec convertCommand() {
  return {"convert", "records between the dictionary form (.plist) and the coded form (.json)",
          [](CLI::App& command) {
            auto options = std::make_shared<Options>();
            const std::map<std::string, Format> formats{{"plist", Format::plist}, {"json", Format::json}};
            command.add_option("IN", options->input, "input file; \"-\" or none reads standard input");
            command.add_option("-o,--output", options->output, "output file (default: standard output)");
            command
                .add_option("--type", options->type, "what the file holds (default: node)")
                ->transform(CLI::CheckedTransformer(std::map<std::string, RecordType>{{"node", RecordType::node},
                                                                                      {"tls", RecordType::tls},
                                                                                      {"wado", RecordType::wado},
                                                                                      {"status", RecordType::status}}));
            command.add_option("--from", options->from, "input format (default: by extension, then content)")
                ->transform(CLI::CheckedTransformer(formats));
            command.add_option("--to", options->to, "output format (default: by extension, else the other one)")
                ->transform(CLI::CheckedTransformer(formats));
            command.add_flag("--binary", options->binary, "write a binary property list instead of XML");
            addFollowSymlinks(command, options->followSymlinks);
            addInputLimit(command, options->maxInputBytes);
            return CommandRun([options] { return runConvert(*options); });
          }};
}

}  // namespace telvor::tool
