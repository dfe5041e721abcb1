// list, show and check: the commands that read a catalogue and change nothing.
#include <CLI/CLI.hpp>
#include <boost/json/array.hpp>

#include <memory>

#include "catalogue_problems.hpp"
#include "command.hpp"
#include "tool_error.hpp"
#include "catalogue_errors.hpp"
#include "commands.hpp"
#include "node_output.hpp"
#include "node_table.hpp"
#include "selector_options.hpp"
#include "support/checked_output.hpp"
#include "support/terminal_text.hpp"
#include "telvor/json/json.hpp"
#include "telvor/node/node_validation.hpp"

namespace telvor::tool {
namespace {

void printJson(const boost::json::value& document) { writeStandardOutput(json::serialize(document, {.indent = 2}) + '\n'); }

int runList(const Options& options) {
  const auto catalogue = readCatalogue(options.input, options.maxInputBytes);
  if (!options.json) {
    writeStandardOutput(formatNodeTable(catalogue.nodes()));
    return kSuccess;
  }
  boost::json::array nodes;
  for (std::size_t i = 0; i < catalogue.size(); ++i)
    nodes.push_back(nodeEntry(catalogue.node(i), i, catalogue.storesIdentifiers()));
  printJson(boost::json::object{{"nodes", std::move(nodes)}});
  return kSuccess;
}

int runCheck(const Options& options) {
  const auto catalogue = readCatalogue(options.input, options.maxInputBytes);
  bool clean = true;
  boost::json::array report;
  std::string out;
  auto amongOthers = catalogueProblems(catalogue.nodes());
  for (std::size_t i = 0; i < catalogue.size(); ++i) {
    const auto& node = catalogue.node(i);
    const auto label = node.name && !node.name->empty() ? escapeForTerminal(*node.name) : "node " + std::to_string(i + 1);
    std::vector<CatalogueProblem> problems;
    for (const auto& problem : validate(node)) problems.push_back({std::string(codeName(problem.code)), problem.message});
    for (auto& problem : amongOthers[i]) problems.push_back(std::move(problem));
    clean = clean && problems.empty();
    if (options.json) {
      boost::json::array found;
      for (const auto& problem : problems)
        found.push_back(boost::json::object{{"code", problem.code}, {"message", problem.message}});
      boost::json::object entry{{"index", i + 1}, {"problems", std::move(found)}};
      entry["name"] = node.name ? boost::json::value(*node.name) : boost::json::value(nullptr);
      report.push_back(std::move(entry));
      continue;
    }
    if (problems.empty()) out += label + ": ok\n";
    for (const auto& problem : problems)
      out += label + ": " + problem.code + ": " + escapeForTerminal(problem.message) + '\n';
  }
  if (options.json) printJson(boost::json::object{{"ok", clean}, {"nodes", std::move(report)}});
  else writeStandardOutput(out);
  return clean ? kSuccess : kAnswerNo;
}

struct ShowOptions {
  std::string file;
  std::uint64_t maxInputBytes = catalogue::kDefaultMaxInputBytes;
  SelectorOptions selector;
  bool json = false;
};

int runShow(const ShowOptions& options) {
  const auto catalogue = readCatalogue(options.file, options.maxInputBytes);
  std::size_t index = 0;
  try {
    index = catalogue.selectOne(options.selector.selector());
  } catch (const catalogue::CatalogueError& e) {
    throwToolError(e);
  }
  if (options.json) printJson(nodeEntry(catalogue.node(index), index, catalogue.storesIdentifiers()));
  else writeStandardOutput(formatNodeFields(catalogue.node(index), index, catalogue.storesIdentifiers()));
  return kSuccess;
}

}  // namespace

void addCatalogueInput(CLI::App& command, Options& options) {
  command.add_option("FILE", options.input,
                     "catalogue: XML or binary property list, or JSON; \"-\" reads standard input "
                     "(default: the bundled sample catalogue)");
  addInputLimit(command, options.maxInputBytes);
}

void addInputLimit(CLI::App& command, std::uint64_t& maxInputBytes) {
  static const std::string help = "refuse larger inputs unread (default " +
                                  std::to_string(catalogue::kDefaultMaxInputBytes) + ", " +
                                  std::to_string(catalogue::kDefaultMaxInputBytes >> 20) + " MiB)";
  command.add_option("--max-input-size", maxInputBytes, help)
      ->check(CLI::PositiveNumber);
}

void addFollowSymlinks(CLI::App& command, bool& follow) {
  command.add_flag("--follow-symlinks", follow,
                   "when the file to save is a symbolic link, replace the file it points to (refused otherwise)");
}

void addJsonFlag(CLI::App& command, bool& json) {
  command.add_flag("--json", json, "print one JSON document (shape in docs/CLI.md) instead of text");
}

CommandSpec listCommand() {
  return {"list", "table of the nodes of a catalogue, numbered as --index selects them", [](CLI::App& command) {
            auto options = std::make_shared<Options>();
            addCatalogueInput(command, *options);
            addJsonFlag(command, options->json);
            return CommandRun([options] { return runList(*options); });
          }};
}

CommandSpec checkCommand() {
  return {"check", "the problems that would stop each node from working (exit status 1 when any)",
          [](CLI::App& command) {
            auto options = std::make_shared<Options>();
            addCatalogueInput(command, *options);
            addJsonFlag(command, options->json);
            return CommandRun([options] { return runCheck(*options); });
          }};
}

CommandSpec showCommand() {
  return {"show", "every field of one node (the WADO password only as set, empty or absent)", [](CLI::App& command) {
            auto options = std::make_shared<ShowOptions>();
            command.add_option("FILE", options->file, "catalogue file; \"-\" reads standard input")->required();
            addInputLimit(command, options->maxInputBytes);
            addSelectorOptions(command, options->selector);
            addJsonFlag(command, options->json);
            return CommandRun([options] {
              options->selector.requireOne();
              return runShow(*options);
            });
          }};
}

}  // namespace telvor::tool
