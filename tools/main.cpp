// telvor-nodes: list, convert and check DICOM node catalogues.
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "commands.hpp"
#include "options.hpp"
#include "peers_commands.hpp"
#include "tool_error.hpp"

int main(int argc, char** argv) {
  using namespace telvor::tool;
  try {
    const Options options = parseOptions(std::vector<std::string>(argv + 1, argv + argc));
    switch (options.command) {
      case Command::list: return runList(options);
      case Command::convert: return runConvert(options);
      case Command::check: return runCheck(options);
      case Command::echo: return runEcho(options);
      case Command::import_:
        return runImport({options.peerFormat, *options.input, options.output, options.replaceMatching, options.strict});
      case Command::export_:
        return runExport({options.peerFormat, *options.input, options.output, options.select, options.strict});
      case Command::version: return runVersion();
    }
  } catch (const UsageError& e) {
    std::cerr << "telvor-nodes: " << e.what() << '\n' << usageLine() << '\n';
    return 2;
  } catch (const InputError& e) {
    std::cerr << "telvor-nodes: " << e.what() << '\n';
    return 1;
  } catch (const std::exception& e) {
    std::cerr << "telvor-nodes: " << e.what() << '\n';
    return 1;
  }
  return 2;
}
