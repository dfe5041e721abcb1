// add, set and remove: the commands that change a catalogue. Each locks the file, reads
// it, changes what it must and saves once, atomically, before the lock ends.
#include <CLI/CLI.hpp>

#include <cmath>
#include <iostream>
#include <memory>

#include "catalogue_errors.hpp"
#include "catalogue_problems.hpp"
#include "command.hpp"
#include "commands.hpp"
#include "field_options.hpp"
#include "selector_options.hpp"
#include "support/checked_output.hpp"
#include "support/terminal_text.hpp"
#include "telvor/node/node_validation.hpp"
#include "tool_error.hpp"

namespace telvor::tool {
namespace {

struct EditOptions {
  std::string file;
  FieldOptions fields;
  SelectorOptions selector;
  bool force = false;
  double waitSeconds = 10;
  bool followSymlinks = false;
  std::uint64_t maxInputBytes = catalogue::kDefaultMaxInputBytes;
  CLI::App* command = nullptr;
};

void addEditOptions(CLI::App& command, EditOptions& options, bool withForce) {
  command.add_option("FILE", options.file, "catalogue file (XML or binary property list, or JSON)")->required();
  if (withForce) command.add_flag("--force", options.force, "save the node even when `check` would flag it");
  command.add_option("--wait", options.waitSeconds, "seconds to wait for another editor's lock (default 10)")
      ->check(CLI::Range(0.0, 3600.0));
  addFollowSymlinks(command, options.followSymlinks);
  addInputLimit(command, options.maxInputBytes);
  options.command = &command;
}

std::string describe(const DicomNode& node, std::size_t index) {
  return "#" + std::to_string(index + 1) + (node.name ? " " + escapeForTerminal(*node.name) : std::string());
}

// Refuses a node with problems unless forced, printing them as `check` does. The node is
// judged as `catalogue` will read it back: a property list writes an absent WADO URL as "wado".
void refuseProblems(const DicomNode& node, const catalogue::Catalogue& catalogue, bool force) {
  if (force) return;
  std::optional<DicomNode> saved;
  if (catalogue.format() != catalogue::FileFormat::json)
    if (const auto dictionary = node.toDictionary()) saved.emplace(*dictionary);
  const auto problems = validate(saved ? *saved : node);
  if (problems.empty()) return;
  for (const auto& problem : problems)
    std::cerr << "telvor-nodes: " << codeName(problem.code) << ": " << problem.message << '\n';
  throw UsageError("the node has the problems above; correct them, or save it as it is with --force");
}

catalogue::CatalogueEditor openEditor(const EditOptions& options, bool create) {
  catalogue::CatalogueEditor::Options open;
  open.wait = std::chrono::milliseconds(static_cast<std::int64_t>(std::ceil(options.waitSeconds * 1000)));
  open.createIfMissing = create;
  open.followSymlinks = options.followSymlinks;
  open.maxInputBytes = options.maxInputBytes;
  return catalogue::CatalogueEditor::open(options.file, open);
}

int runAdd(EditOptions& options) {
  if (options.fields.name.empty() || options.fields.aet.empty() || !options.fields.address || !options.fields.port)
    throw UsageError("add needs --name, --aet, --address and --port");
  if (options.fields.name.back().empty()) throw UsageError("--name is empty: give the node a name people can tell it by");
  options.fields.readSecrets();
  DicomNode node;
  options.fields.apply(node);
  try {
    auto editor = openEditor(options, true);
    refuseProblems(node, editor.catalogue(), options.force);
    if (const auto same = samePeerAs(editor.catalogue().nodes(), node))
      std::cerr << "telvor-nodes: warning: node " << *same
                << " has the same AE title, address and port; added anyway (`remove` takes one out)\n";
    editor.catalogue().append(node);
    editor.save();
    writeStandardOutput("added " + describe(node, editor.catalogue().size() - 1) + '\n');
  } catch (const catalogue::CatalogueError& e) {
    throwToolError(e);
  }
  return kSuccess;
}

// In `set`, --name and --aet are both selector and field options: the first of --index,
// --id, --name and --aet on the line selects, every later one sets. So
// `set F --name Old --name New` renames, `set F --aet A --name N` renames the node whose
// AE title is A, and `set F --index 2 --aet B` sets node 2's AE title.
void splitSelector(EditOptions& options) {
  auto& fields = options.fields;
  auto& selector = options.selector;
  const CLI::Option* first = nullptr;
  for (const CLI::Option* option : options.command->parse_order()) {
    const auto name = option->get_name();
    if (name == "--index" || name == "--id" || name == "--name" || name == "--aet") {
      first = option;
      break;
    }
  }
  if (!first) throw UsageError("select the node with --index N, --name TEXT, --aet TEXT or --id UUID");
  const auto name = first->get_name();
  if (name == "--name") {
    selector.name.push_back(fields.name.front());
    fields.name.erase(fields.name.begin());
  } else if (name == "--aet") {
    selector.aet.push_back(fields.aet.front());
    fields.aet.erase(fields.aet.begin());
  }
  if (fields.name.size() > 1 || fields.aet.size() > 1 || (selector.index && selector.id))
    throw UsageError("give one selector, then each field at most once");
}

int runSet(EditOptions& options) {
  splitSelector(options);
  if (!options.fields.any()) throw UsageError("nothing to set: give at least one field option (see set --help)");
  options.fields.readSecrets();
  try {
    auto editor = openEditor(options, false);
    auto& catalogue = editor.catalogue();
    const std::size_t index = catalogue.selectOne(options.selector.selector());
    DicomNode node = catalogue.node(index);
    if (options.fields.retrieve == "wado" && node.retrieveMode != RetrieveModeType::wado)
      if (auto saved = catalogue.savedWadoSettings(index)) node.wadoSettings = *saved;
    options.fields.apply(node);
    refuseProblems(node, catalogue, options.force);
    const auto changed = catalogue.replace(index, node);
    if (changed.empty()) {
      writeStandardOutput("unchanged " + describe(node, index) + '\n');
      return kSuccess;
    }
    editor.save();
    std::string line = "changed " + describe(node, index) + ':';
    for (const auto& key : changed) line += ' ' + escapeForTerminal(key);
    writeStandardOutput(line + '\n');
  } catch (const catalogue::CatalogueError& e) {
    throwToolError(e);
  }
  return kSuccess;
}

int runRemove(EditOptions& options) {
  options.selector.requireOne();
  try {
    auto editor = openEditor(options, false);
    auto& catalogue = editor.catalogue();
    const std::size_t index = catalogue.selectOne(options.selector.selector());
    const DicomNode node = catalogue.node(index);
    catalogue.remove(index);
    editor.save();
    writeStandardOutput("removed " + describe(node, index) + '\n');
  } catch (const catalogue::CatalogueError& e) {
    throwToolError(e);
  }
  return kSuccess;
}

}  // namespace

CommandSpec addCommand() {
  return {"add", "append a node to a catalogue (created when missing)", [](CLI::App& command) {
            auto options = std::make_shared<EditOptions>();
            addFieldOptions(command, options->fields, false);
            addEditOptions(command, *options, true);
            command.footer("--name, --aet, --address and --port are required.");
            return CommandRun([options] { return runAdd(*options); });
          }};
}

CommandSpec setCommand() {
  return {"set", "change fields of one node, writing only what changes", [](CLI::App& command) {
            auto options = std::make_shared<EditOptions>();
            addFieldOptions(command, options->fields, true);
            addSelectorOptions(command, options->selector, false);
            addEditOptions(command, *options, true);
            command.footer(
                "The first of --index, --id, --name and --aet selects the node; a later --name or --aet sets it:\n"
                "  telvor-nodes set nodes.plist --name Archive --port 11113\n"
                "  telvor-nodes set nodes.plist --name Archive --name \"Main archive\"");
            return CommandRun([options] { return runSet(*options); });
          }};
}

CommandSpec removeCommand() {
  return {"remove", "take one node out of a catalogue", [](CLI::App& command) {
            auto options = std::make_shared<EditOptions>();
            addSelectorOptions(command, options->selector);
            addEditOptions(command, *options, false);
            return CommandRun([options] { return runRemove(*options); });
          }};
}

}  // namespace telvor::tool
