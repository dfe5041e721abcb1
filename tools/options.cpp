#include "options.hpp"

#include <array>
#include <charconv>
#include <limits>
#include <string_view>

#include "tool_error.hpp"

namespace telvor::tool {
namespace {

template <class T>
struct Named {
  std::string_view name;
  T value;
};

constexpr std::array<Named<Command>, 4> kCommands{{
    {"list", Command::list}, {"convert", Command::convert}, {"check", Command::check}, {"echo", Command::echo}}};
constexpr std::array<Named<Format>, 2> kFormats{{{"plist", Format::plist}, {"json", Format::json}}};
constexpr std::array<Named<RecordType>, 4> kTypes{
    {{"node", RecordType::node}, {"tls", RecordType::tls}, {"wado", RecordType::wado}, {"status", RecordType::status}}};

template <class T, std::size_t N>
T lookup(const std::array<Named<T>, N>& table, std::string_view name, std::string_view what) {
  for (const auto& entry : table)
    if (entry.name == name) return entry.value;
  throw UsageError("unknown " + std::string(what) + " \"" + std::string(name) + "\"");
}

// A number from the option's range; from_chars reads "nan" and "inf" too, which no range holds.
template <class T>
T number(std::string_view text, std::string_view option, T low, T high, std::string_view range) {
  T value{};
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size() || !(value >= low && value <= high))
    throw UsageError(std::string(option) + " takes " + std::string(range) + ", not \"" + std::string(text) + "\"");
  return value;
}

}  // namespace

const char* usageLine() noexcept {
  return "usage: telvor-nodes list [FILE] | convert [--type node|tls|wado|status] [--from plist|json] "
         "[--to plist|json] [--binary] [IN|-] [-o OUT] | check [FILE] | echo [FILE | --host H [--port P] --aec AET] "
         "[--aet CALLING] [--timeout SECONDS] [--jobs N] [--cert FILE --key FILE] [--ca-file FILE] [--ca-dir DIR] "
         "[--check-find] | --version";
}

const char* helpText() noexcept {
  return "telvor-nodes: list, convert and check DICOM node catalogues.\n"
         "\n"
         "  telvor-nodes list [FILE]      table of the nodes in FILE (default: the bundled sample catalogue)\n"
         "  telvor-nodes convert [--type node|tls|wado|status] [--from plist|json] [--to plist|json]\n"
         "                      [--binary] [IN|-] [-o OUT]\n"
         "                                between the dictionary form (.plist, XML or binary) and the\n"
         "                                coded form (.json); the default output format is the other one\n"
         "  telvor-nodes check [FILE]     the problems that would stop each node from working\n"
         "  telvor-nodes echo [FILE | --host H [--port P] --aec AET] [--aet CALLING] [--timeout SECONDS]\n"
         "                   [--jobs N] [--cert FILE --key FILE] [--ca-file FILE] [--ca-dir DIR] [--check-find]\n"
         "                                DICOM C-ECHO every node, or the one peer given (when built with\n"
         "                                DCMTK); --timeout (0 < S <= 3600, default 5) bounds each node's whole\n"
         "                                probe; --jobs 1 to 1024 nodes at a time (default 4); --cert/--key:\n"
         "                                the client certificate, --ca-file/--ca-dir: trusted authorities, for\n"
         "                                nodes with TLS on; --check-find: also ask whether each node answers\n"
         "                                queries (a study-root C-FIND that matches nothing)\n"
         "  telvor-nodes --version\n"
         "\n"
         "A file holds one record or an array of records. Exit status: 0 success, 1 the input\n"
         "failed (one line: KIND at PATH: DESCRIPTION), 2 unusable options or files.\n";
}

std::optional<Format> formatOfPath(const std::string& path) {
  const auto dot = path.rfind('.');
  if (dot == std::string::npos) return std::nullopt;
  const std::string_view extension = std::string_view(path).substr(dot + 1);
  for (const auto& entry : kFormats)
    if (entry.name == extension) return entry.value;
  return std::nullopt;
}

Options parseOptions(const std::vector<std::string>& args) {
  if (args.empty()) throw UsageError("a command is required");
  Options options;
  if (args[0] == "--version") {
    if (args.size() > 1) throw UsageError("--version takes no arguments");
    options.command = Command::version;
    return options;
  }
  options.command = lookup(kCommands, args[0], "command");
  const bool converting = options.command == Command::convert;
  const bool echoing = options.command == Command::echo;
  for (std::size_t i = 1; i < args.size(); ++i) {
    const std::string& arg = args[i];
    const auto value = [&]() -> const std::string& {
      if (i + 1 >= args.size()) throw UsageError(arg + " needs a value");
      return args[++i];
    };
    if (converting && arg == "--type") options.type = lookup(kTypes, value(), "type");
    else if (converting && arg == "--from") options.from = lookup(kFormats, value(), "format");
    else if (converting && arg == "--to") options.to = lookup(kFormats, value(), "format");
    else if (converting && arg == "--binary") options.binary = true;
    else if (converting && arg == "-o") options.output = value();
    else if (echoing && arg == "--aet") options.callingAeTitle = value();
    else if (echoing && arg == "--timeout")
      options.timeoutSeconds = number<double>(value(), arg, std::numeric_limits<double>::denorm_min(), 3600,
                                              "seconds above 0, at most 3600");
    else if (echoing && arg == "--jobs") options.jobs = number<unsigned>(value(), arg, 1, 1024, "1 to 1024");
    else if (echoing && arg == "--cert") options.certificateFile = value();
    else if (echoing && arg == "--key") options.privateKeyFile = value();
    else if (echoing && arg == "--ca-file") options.trustedCertificateFiles.push_back(value());
    else if (echoing && arg == "--ca-dir") options.trustedCertificateDirectories.push_back(value());
    else if (echoing && arg == "--check-find") options.checkFind = true;
    else if (echoing && arg == "--host") options.host = value();
    else if (echoing && arg == "--port") options.port = value();
    else if (echoing && arg == "--aec") options.calledAeTitle = value();
    else if (arg.size() > 1 && arg[0] == '-') throw UsageError("unknown option \"" + arg + "\"");
    else if (options.input) throw UsageError("only one input file is taken");
    else options.input = arg;
  }
  if (options.type == RecordType::status &&
      (options.from == Format::plist || options.to == Format::plist))
    throw UsageError("statuses exist only as JSON");
  if (options.binary && options.to == Format::json) throw UsageError("--binary applies to property lists only");
  if (options.certificateFile.has_value() != options.privateKeyFile.has_value())
    throw UsageError("--cert and --key go together");
  if (options.host ? !options.calledAeTitle : (options.port || options.calledAeTitle))
    throw UsageError("an unsaved target takes --host and --aec (and --port, 104 by default)");
  if (options.host && options.input) throw UsageError("give either a catalogue or --host, not both");
  return options;
}

}  // namespace telvor::tool
