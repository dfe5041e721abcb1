// telvor-nodes: list, convert and check DICOM node catalogues.
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "commands.hpp"
#include "options.hpp"
#include "peers_commands.hpp"
#include "support/checked_output.hpp"
#include "support/terminal_text.hpp"
#include "tool_error.hpp"

int main(int argc, char** argv) {
  using namespace telvor::tool;
  // Error lines may quote a catalogue's text or a path: escaped, never raw.
  const auto report = [](const std::exception& e) { std::cerr << "telvor-nodes: " << escapeForTerminal(e.what()) << '\n'; };
  try {
    const Options options = parseOptions(std::vector<std::string>(argv + 1, argv + argc));
    const int status = [&] {
      switch (options.command) {
        case Command::list: return runList(options);
        case Command::convert: return runConvert(options);
        case Command::check: return runCheck(options);
        case Command::echo: return runEcho(options);
        case Command::import_:
          return runImport({options.peerFormat, *options.input, options.output, options.replaceMatching, options.strict,
                            options.maxInputBytes});
        case Command::export_:
          return runExport({options.peerFormat, *options.input, options.output, options.select, options.strict,
                            options.maxInputBytes});
        case Command::version: return runVersion();
      }
      return 2;
    }();
    finishStandardOutput();
    return status;
  } catch (const UsageError& e) {
    report(e);
    std::cerr << usageLine() << '\n';
    return 2;
  } catch (const FileError& e) {
    report(e);
    return 2;
  } catch (const OutputError& e) {
    // A reader that went away wants no more output, and no message either.
    if (!e.brokenPipe()) report(e);
    return 2;
  } catch (const InputError& e) {
    report(e);
    return 1;
  } catch (const std::exception& e) {
    report(e);
    return 1;
  }
}
