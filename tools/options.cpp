#include "options.hpp"

#include <array>
#include <charconv>
#include <string_view>

#include "tool_error.hpp"

namespace telvor::tool {
namespace {

template <class T>
struct Named {
  std::string_view name;
  T value;
};

constexpr std::array<Named<Command>, 6> kCommands{{{"list", Command::list},
                                                  {"convert", Command::convert},
                                                  {"check", Command::check},
                                                  {"echo", Command::echo},
                                                  {"import", Command::import_},
                                                  {"export", Command::export_}}};
constexpr std::array<Named<Format>, 2> kFormats{{{"plist", Format::plist}, {"json", Format::json}}};
constexpr std::array<Named<RecordType>, 4> kTypes{
    {{"node", RecordType::node}, {"tls", RecordType::tls}, {"wado", RecordType::wado}, {"status", RecordType::status}}};

template <class T, std::size_t N>
T lookup(const std::array<Named<T>, N>& table, std::string_view name, std::string_view what) {
  for (const auto& entry : table)
    if (entry.name == name) return entry.value;
  throw UsageError("unknown " + std::string(what) + " \"" + std::string(name) + "\"");
}

template <class T>
T number(std::string_view text, std::string_view option) {
  T value{};
  const auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (ec != std::errc() || end != text.data() + text.size() || value <= 0)
    throw UsageError(std::string(option) + " takes a positive number, not \"" + std::string(text) + "\"");
  return value;
}

}  // namespace

const char* usageLine() noexcept {
  return "usage: telvor-nodes list [FILE] | convert [--type node|tls|wado|status] [--from plist|json] "
         "[--to plist|json] [--binary] [IN|-] [-o OUT [--follow-symlinks]] | check [FILE] | echo [FILE] "
         "[--aet CALLING] [--timeout SECONDS] [--jobs N] | import --from FORMAT SOURCE [-o CATALOGUE] "
         "[--replace-matching] [--strict] | export --to FORMAT CATALOGUE [-o OUT] [--select NODE]... [--strict] "
         "| --version; any reading command: [--max-input-size BYTES]";
}

const char* helpText() noexcept {
  return "telvor-nodes: list, convert and check DICOM node catalogues.\n"
         "\n"
         "  telvor-nodes list [FILE]      table of the nodes in FILE (default: the bundled sample catalogue)\n"
         "  telvor-nodes convert [--type node|tls|wado|status] [--from plist|json] [--to plist|json]\n"
         "                      [--binary] [IN|-] [-o OUT [--follow-symlinks]]\n"
         "                                between the dictionary form (.plist, XML or binary) and the\n"
         "                                coded form (.json); the default output format is the other one.\n"
         "                                OUT is replaced atomically (a new file gets mode 0600, a replaced\n"
         "                                one keeps its mode); a symbolic link is replaced only with\n"
         "                                --follow-symlinks, and then its target is\n"
         "  telvor-nodes check [FILE]     the problems that would stop each node from working\n"
         "  telvor-nodes echo [FILE] [--aet CALLING] [--timeout SECONDS] [--jobs N]\n"
         "                                DICOM C-ECHO every node (when built with DCMTK)\n"
         "  telvor-nodes import --from FORMAT SOURCE [-o CATALOGUE] [--replace-matching] [--strict]\n"
         "                                another system's peer list into CATALOGUE (appended; created when\n"
         "                                missing; printed without -o); --replace-matching updates the\n"
         "                                nodes with the same AE title, address and port\n"
         "  telvor-nodes export --to FORMAT CATALOGUE [-o OUT] [--select NODE]... [--strict]\n"
         "                                the catalogue (or the nodes named, by name, AE title or position)\n"
         "                                in another system's format\n"
         "                                FORMAT: orthanc, weasis, dcmtk-qr, dcmtk-pstat (DCMTK builds)\n"
         "                                Every field the other side cannot hold is reported on standard\n"
         "                                error; --strict makes any such loss a failure\n"
         "  telvor-nodes --version\n"
         "\n"
         "  --max-input-size BYTES        refuse larger inputs unread (default 268435456, 256 MiB)\n"
         "\n"
         "A file holds one record or an array of records. Exit status: 0 success, 1 the input\n"
         "failed (one line: KIND at PATH: DESCRIPTION) or, for import/export, --strict found a loss,\n"
         "2 unusable options or files, 3 damaged import input (nothing written).\n";
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
  const bool importing = options.command == Command::import_;
  const bool exporting = options.command == Command::export_;
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
    else if (converting && arg == "--follow-symlinks") options.followSymlinks = true;
    else if (options.command != Command::version && arg == "--max-input-size")
      options.maxInputBytes = number<std::uint64_t>(value(), arg);
    else if (importing && arg == "--from") options.peerFormat = value();
    else if (exporting && arg == "--to") options.peerFormat = value();
    else if ((importing || exporting) && arg == "-o") options.output = value();
    else if ((importing || exporting) && arg == "--strict") options.strict = true;
    else if (importing && arg == "--replace-matching") options.replaceMatching = true;
    else if (exporting && arg == "--select") options.select.push_back(value());
    else if (echoing && arg == "--aet") options.callingAeTitle = value();
    else if (echoing && arg == "--timeout") options.timeoutSeconds = number<double>(value(), arg);
    else if (echoing && arg == "--jobs") options.jobs = number<unsigned>(value(), arg);
    else if (arg.size() > 1 && arg[0] == '-') throw UsageError("unknown option \"" + arg + "\"");
    else if (options.input) throw UsageError("only one input file is taken");
    else options.input = arg;
  }
  if ((importing || exporting) && options.peerFormat.empty())
    throw UsageError(importing ? "import needs --from FORMAT" : "export needs --to FORMAT");
  if ((importing || exporting) && !options.input)
    throw UsageError(importing ? "import needs the file to read" : "export needs the catalogue");
  if (options.type == RecordType::status &&
      (options.from == Format::plist || options.to == Format::plist))
    throw UsageError("statuses exist only as JSON");
  if (options.binary && options.to == Format::json) throw UsageError("--binary applies to property lists only");
  return options;
}

}  // namespace telvor::tool
