// Property-list benchmarks: the catalogue read and written in both forms by the library;
// the same files read and written by Python's plistlib; the peak memory of the tool's
// conversions. The files are written once into a scratch folder removed at exit.
#ifdef TELVOR_BENCH_PLIST
#include <benchmark/benchmark.h>

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "benches.hpp"
#include "catalogue.hpp"
#include "summary.hpp"
#include "telvor/plist/plist.hpp"

namespace bench {
namespace {

namespace fs = std::filesystem;
using telvor::plist::Format;

struct PlistFiles {
  telvor::plist::PropertyListDocument document;
  std::string xml;
  std::string binary;
};

// A scratch folder removed at exit, or the folder TELVOR_BENCH_FILES names, kept.
fs::path scratchFolder() {
  static const struct Folder {
    fs::path path;
    bool keep = false;
    Folder() {
      if (const char* named = std::getenv("TELVOR_BENCH_FILES")) {
        path = named;
        keep = true;
        fs::create_directories(path);
        return;
      }
      std::string pattern = (fs::temp_directory_path() / "telvor-bench-XXXXXX").string();
      if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("telvor-bench: no scratch folder");
      path = pattern;
    }
    ~Folder() {
      std::error_code ignored;
      if (!keep) fs::remove_all(path, ignored);
    }
  } folder;
  return folder.path;
}

fs::path fileOf(std::size_t count, const char* form) {
  return scratchFolder() / ("nodes-" + std::to_string(count) + "." + form);
}

// The catalogue's dictionary forms as a property list, kept for the whole run and saved
// as nodes-N.xml.plist, nodes-N.bin.plist (and nodes-N.json) for the other programs.
const PlistFiles& plistFiles(std::size_t count) {
  static std::map<std::size_t, std::unique_ptr<PlistFiles>> built;
  auto& slot = built[count];
  if (slot) return *slot;
  slot = std::make_unique<PlistFiles>();
  slot->document.wasArray = true;
  for (const auto& node : catalogue(count).nodes) slot->document.dictionaries.push_back(*node.toDictionary());
  slot->xml = telvor::plist::serialize(slot->document, Format::xml);
  slot->binary = telvor::plist::serialize(slot->document, Format::binary);
  std::ofstream(fileOf(count, "xml.plist"), std::ios::binary) << slot->xml;
  std::ofstream(fileOf(count, "bin.plist"), std::ios::binary) << slot->binary;
  std::ofstream(fileOf(count, "json"), std::ios::binary) << catalogue(count).json;
  return *slot;
}

void read(benchmark::State& state, std::size_t count, Format format) {
  const PlistFiles& files = plistFiles(count);
  const std::string& bytes = format == Format::xml ? files.xml : files.binary;
  for (auto _ : state) {
    auto document = telvor::plist::parse(bytes);
    benchmark::DoNotOptimize(document.dictionaries.data());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

void write(benchmark::State& state, std::size_t count, Format format) {
  const PlistFiles& files = plistFiles(count);
  for (auto _ : state) {
    auto bytes = telvor::plist::serialize(files.document, format);
    benchmark::DoNotOptimize(bytes.data());
  }
}

std::string quoted(const std::vector<std::string>& words) {
  std::string line;
  for (const auto& word : words) line += "'" + word + "' ";
  return line;
}

// Runs `command` through the baseline script and calls `take(line)` for each line of
// its output.
template <class Take>
void runScript(const std::vector<std::string>& command, Take take) {
  if (FILE* pipe = popen((quoted(command) + "2>&1").c_str(), "r")) {
    char buffer[512];
    while (std::fgets(buffer, sizeof buffer, pipe) != nullptr) take(std::string(buffer));
    pclose(pipe);
  }
}

#ifdef TELVOR_BENCH_TOOL
// The CPU time (user + system, the process's own rusage) of the fastest of `runs` runs of
// the tool with `arguments` (its output discarded), in nanoseconds, as plistlib's figures
// are CPU time too; negative when it could not run or failed (exit status 2 or more: 1 is
// check's answer "problems found").
double toolNanoseconds(const std::vector<std::string>& arguments, int runs, std::ostream& log) {
  std::vector<std::string> words{TELVOR_BENCH_TOOL};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (auto& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
  double best = -1;
  for (int run = 0; run < runs; ++run) {
    pid_t child = 0;
    if (posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ) != 0) break;
    int status = 0;
    struct rusage usage {};
    ::wait4(child, &status, 0, &usage);
    const auto nanoseconds = [](const timeval& t) { return (static_cast<double>(t.tv_sec) * 1e6 + t.tv_usec) * 1e3; };
    const double spent = nanoseconds(usage.ru_utime) + nanoseconds(usage.ru_stime);
    if (!WIFEXITED(status) || WEXITSTATUS(status) > 1) {
      log << "tool: " << quoted(words) << "exit status " << status << "\n";
      best = -1;
      break;
    }
    best = best < 0 ? spent : std::min(best, spent);
  }
  posix_spawn_file_actions_destroy(&actions);
  return best;
}

// The tool's own peak resident memory running `arguments`, in bytes, as /usr/bin/time sees
// it (the tool's rusage, not a parent's); negative when it could not be measured.
double toolPeakBytes(const std::vector<std::string>& arguments, std::ostream& log) {
  std::vector<std::string> argv{"/usr/bin/time", "-f", "peak %M", TELVOR_BENCH_TOOL};
  argv.insert(argv.end(), arguments.begin(), arguments.end());
  double peak = -1;
  if (FILE* pipe = popen((quoted(argv) + "2>&1 >/dev/null").c_str(), "r")) {
    char buffer[512];
    while (std::fgets(buffer, sizeof buffer, pipe) != nullptr) {
      const std::string line(buffer);
      if (line.starts_with("peak ")) peak = std::stod(line.substr(5)) * 1024;  // KiB
      else log << "memory: " << line;
    }
    if (pclose(pipe) != 0) peak = -1;
  }
  return peak;
}
#endif

}  // namespace

void registerPlistBenchmarks() {
  for (const std::size_t count : kPlistSizes) {
    const std::string n = std::to_string(count);
    for (const auto& [name, format] : {std::pair{"xml", Format::xml}, std::pair{"binary", Format::binary}}) {
      benchmark::RegisterBenchmark(("plist/read_" + std::string(name) + "/" + n).c_str(), read, count, format)
          ->Repetitions(kRepetitions)
          ->ReportAggregatesOnly(false)
          ->MinTime(0.2);
      benchmark::RegisterBenchmark(("plist/write_" + std::string(name) + "/" + n).c_str(), write, count, format)
          ->Repetitions(kRepetitions)
          ->ReportAggregatesOnly(false)
          ->MinTime(0.2);
    }
  }
}

void measurePlistBaselines(SummaryReporter& reporter, std::ostream& log) {
  const std::size_t big = kPlistSizes.back();
  const std::string n = std::to_string(big);
  // The largest catalogue as plistlib writes it, read by both plistlib and the tool.
  plistFiles(big);
  const fs::path pythonXml = fileOf(big, "py.xml.plist");
  const fs::path pythonBinary = fileOf(big, "py.bin.plist");
  runScript({"python3", TELVOR_BENCH_PLISTLIB_SCRIPT, "--rewrite", fileOf(big, "xml.plist").string(),
             pythonXml.string(), pythonBinary.string()},
            [&](const std::string& line) { log << "plistlib: " << line; });

  std::vector<std::string> command{"python3", TELVOR_BENCH_PLISTLIB_SCRIPT, std::to_string(kRepetitions)};
  for (const std::size_t count : kPlistSizes) {
    plistFiles(count);
    command.push_back(fileOf(count, "xml.plist").string());
    command.push_back(fileOf(count, "bin.plist").string());
  }
  command.push_back(pythonXml.string());
  command.push_back(pythonBinary.string());
  log << "plistlib: " << quoted(command) << "\n";
  std::map<std::string, double> seconds;
  runScript(command, [&](const std::string& line) {
    std::istringstream fields(line);
    std::string name;
    double value = 0;
    if (fields >> name >> value) {
      reporter.addMeasurement("plistlib/" + name, value * 1e9);
      seconds[name] = value;
    } else {
      log << "plistlib: " << line;
    }
  });
  // A round trip: load, then dump in the same form.
  for (const auto& [file, form] : {std::pair{pythonXml, "xml"}, std::pair{pythonBinary, "binary"}}) {
    const std::string name = file.filename().string();
    const std::string dump = "dumps_" + std::string(form) + "_" + name;
    if (seconds.count("load_" + name) && seconds.count(dump))
      reporter.addMeasurement("plistlib/roundtrip_" + name, (seconds["load_" + name] + seconds[dump]) * 1e9);
  }

#ifdef TELVOR_BENCH_TOOL
  // The tool on plistlib's files, as a user runs it: the whole process (start-up included),
  // fastest of several.
  const fs::path out = scratchFolder() / "converted";
  const std::vector<std::pair<std::string, std::vector<std::string>>> runs{
      {"check_xml", {"check", pythonXml.string()}},
      {"check_binary", {"check", pythonBinary.string()}},
      {"convert_xml_to_xml", {"convert", pythonXml.string(), "-o", out.string() + ".plist"}},
      {"convert_binary_to_binary", {"convert", pythonBinary.string(), "--binary", "-o", out.string() + ".plist"}},
  };
  for (const auto& [name, arguments] : runs) {
    const double nanoseconds = toolNanoseconds(arguments, 2 * kRepetitions + 1, log);
    if (nanoseconds >= 0) reporter.addMeasurement("tool/" + name + "/" + n, nanoseconds);
  }

  // Peak memory of the tool converting the largest catalogue, each way.
  const std::vector<std::pair<std::string, std::vector<std::string>>> conversions{
      {"xml_to_binary", {fileOf(big, "xml.plist").string(), "--binary", "-o", out.string() + ".plist"}},
      {"binary_to_xml", {fileOf(big, "bin.plist").string(), "-o", out.string() + ".plist"}},
      {"xml_to_xml", {pythonXml.string(), "-o", out.string() + ".plist"}},
      {"binary_to_binary", {pythonBinary.string(), "--binary", "-o", out.string() + ".plist"}},
      {"binary_to_json", {fileOf(big, "bin.plist").string(), "-o", out.string() + ".json"}},
      {"json_to_binary", {fileOf(big, "json").string(), "--binary", "-o", out.string() + ".plist"}},
  };
  for (const auto& [name, arguments] : conversions) {
    std::vector<std::string> argv{"convert"};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    const double peak = toolPeakBytes(argv, log);
    if (peak < 0) {
      log << "memory: " << quoted(argv) << "failed\n";
      continue;
    }
    const auto input = static_cast<double>(fs::file_size(arguments.front()));
    reporter.addCounter("memory/" + name + "/" + n, "peak MB", peak / (1 << 20));
    reporter.addCounter("memory/" + name + "/" + n, "input MB", input / (1 << 20));
    reporter.addCounter("memory/" + name + "/" + n, "(peak - 32 MB) / input", (peak - 32.0 * (1 << 20)) / input);
  }
#endif
}

}  // namespace bench
#endif  // TELVOR_BENCH_PLIST
