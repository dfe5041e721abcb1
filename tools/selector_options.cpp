#include "selector_options.hpp"

#include <CLI/CLI.hpp>

#include "tool_error.hpp"

namespace telvor::tool {

void SelectorOptions::requireOne() const {
  const std::size_t given = (index ? 1 : 0) + (id ? 1 : 0) + name.size() + aet.size();
  if (given != 1) throw UsageError("select exactly one node with --index N, --name TEXT, --aet TEXT or --id UUID");
}

catalogue::Selector SelectorOptions::selector() const {
  if (index) return catalogue::Selector::byIndex(*index);
  if (id) return catalogue::Selector::byId(*id);
  if (!name.empty()) return catalogue::Selector::byName(name.front());
  return catalogue::Selector::byAetitle(aet.front());
}

void addSelectorOptions(CLI::App& command, SelectorOptions& options, bool withNameAndAet, const char* group) {
  command.add_option("--index", options.index, "the node at this 1-based position (see `list`)")
      ->check(CLI::PositiveNumber)
      ->group(group);
  if (withNameAndAet) {
    command.add_option("--name", options.name, "the node with this name (canonical equivalence)")
        ->expected(1)
        ->group(group);
    command.add_option("--aet", options.aet, "the node with this AE title")->expected(1)->group(group);
  }
  command.add_option("--id", options.id, "the node with this identifier (JSON catalogues only)")->group(group);
}

std::string optionText(const catalogue::Selector& selector) {
  switch (selector.by) {
    case catalogue::Selector::By::index: return "--index " + selector.value;
    case catalogue::Selector::By::name: return "--name \"" + selector.value + "\"";
    case catalogue::Selector::By::aetitle: return "--aet \"" + selector.value + "\"";
    case catalogue::Selector::By::id: return "--id " + selector.value;
  }
  return selector.value;
}

}  // namespace telvor::tool
