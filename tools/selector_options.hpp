// The SELECTOR options of show, set and remove: --index N, --name TEXT, --aet TEXT, --id UUID.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "telvor/catalogue/selector.hpp"

namespace CLI {
class App;
}

namespace telvor::tool {

struct SelectorOptions {
  std::optional<std::size_t> index;
  std::optional<std::string> id;
  std::vector<std::string> name, aet;  // vectors: in `set` they double as field options

  // Throws UsageError unless exactly one selector was given.
  void requireOne() const;
  // The selector given (after requireOne()).
  catalogue::Selector selector() const;
};

// The selector as it reads on the command line: "--index 2", "--name \"Main archive\"".
std::string optionText(const catalogue::Selector& selector);

// Declares --index and --id, and --name and --aet unless `withNameAndAet` is false (in
// `set`, whose field options declare those two), under the help heading `group`.
void addSelectorOptions(CLI::App& command, SelectorOptions& options, bool withNameAndAet = true,
                        const char* group = "Selector (one of)");

}  // namespace telvor::tool
