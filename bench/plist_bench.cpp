// Property-list benchmarks: the catalogue read and written in both forms by the library;
// the same files read and written by Python's plistlib; the peak memory of the tool's
// conversions. The files are written once into a scratch folder removed at exit.
#ifdef TELVOR_BENCH_PLIST
#include <benchmark/benchmark.h>

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
  std::vector<std::string> command{"python3", TELVOR_BENCH_PLISTLIB_SCRIPT, std::to_string(kRepetitions)};
  for (const std::size_t count : kPlistSizes) {
    plistFiles(count);
    command.push_back(fileOf(count, "xml.plist").string());
    command.push_back(fileOf(count, "bin.plist").string());
  }
  log << "plistlib: " << quoted(command) << "\n";
  runScript(command, [&](const std::string& line) {
    std::istringstream fields(line);
    std::string name;
    double seconds = 0;
    if (fields >> name >> seconds) {
      reporter.addMeasurement("plistlib/" + name, seconds * 1e9);
    } else {
      log << "plistlib: " << line;
    }
  });

#ifdef TELVOR_BENCH_TOOL
  // Peak memory of the tool converting the largest catalogue, each way.
  const std::size_t count = kPlistSizes.back();
  const std::string n = std::to_string(count);
  const fs::path out = scratchFolder() / "converted";
  const std::vector<std::pair<std::string, std::vector<std::string>>> conversions{
      {"xml_to_binary", {fileOf(count, "xml.plist").string(), "--binary", "-o", out.string() + ".plist"}},
      {"binary_to_xml", {fileOf(count, "bin.plist").string(), "-o", out.string() + ".plist"}},
      {"binary_to_json", {fileOf(count, "bin.plist").string(), "-o", out.string() + ".json"}},
      {"json_to_binary", {fileOf(count, "json").string(), "--binary", "-o", out.string() + ".plist"}},
  };
  for (const auto& [name, arguments] : conversions) {
    std::vector<std::string> argv{"python3", TELVOR_BENCH_PLISTLIB_SCRIPT, "--peak-memory", TELVOR_BENCH_TOOL, "convert"};
    argv.insert(argv.end(), arguments.begin(), arguments.end());
    double peak = -1;
    runScript(argv, [&](const std::string& line) {
      if (line.starts_with("peak ")) peak = std::stod(line.substr(5));
      else log << "memory: " << line;
    });
    if (peak < 0) {
      log << "memory: " << quoted(argv) << "failed\n";
      continue;
    }
    const auto input = static_cast<double>(fs::file_size(arguments.front()));
    reporter.addCounter("memory/" + name + "/" + n, "peak MB", static_cast<double>(peak) / (1 << 20));
    reporter.addCounter("memory/" + name + "/" + n, "input MB", input / (1 << 20));
    reporter.addCounter("memory/" + name + "/" + n, "(peak - 32 MB) / input",
                        (static_cast<double>(peak) - 32.0 * (1 << 20)) / input);
  }
#endif
}

}  // namespace bench
#endif  // TELVOR_BENCH_PLIST
