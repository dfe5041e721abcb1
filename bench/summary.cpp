#include "summary.hpp"

#include <algorithm>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "benches.hpp"

namespace bench {
namespace {

double toNanoseconds(double value, benchmark::TimeUnit unit) {
  switch (unit) {
    case benchmark::kNanosecond: return value;
    case benchmark::kMicrosecond: return value * 1e3;
    case benchmark::kMillisecond: return value * 1e6;
    case benchmark::kSecond: return value * 1e9;
  }
  return value;
}

// A target: `numerator`'s time over `denominator`'s, or, without a denominator, the
// value of `counter` in `numerator`'s run; it passes when at least (or at most) `limit`.
struct Target {
  std::string what;
  std::string numerator;
  std::string denominator;
  std::string counter;
  bool atLeast;
  double limit;
};

std::vector<Target> targets() {
  std::vector<Target> all;
  for (const std::size_t count : kCatalogueSizes) {
    const std::string n = std::to_string(count);
    all.push_back({"decode " + n + ": nlohmann / library", "decode/nlohmann/" + n, "decode/library/" + n, "", true, 4.0});
    all.push_back({"decode " + n + ": library / Boost.JSON direct", "decode/library/" + n, "decode/boost_direct/" + n,
                   "", false, 1.5});
    all.push_back({"encode " + n + ": nlohmann / library", "encode/nlohmann/" + n, "encode/library/" + n, "", true, 5.0});
    all.push_back({"encode " + n + ": library / Boost.JSON direct", "encode/library/" + n, "encode/boost_direct/" + n,
                   "", false, 1.5});
  }
  for (const std::size_t count : kCatalogueSizes) {
    const std::string n = std::to_string(count);
    all.push_back({"decode " + n + ": library / simdjson parse only", "decode/library/" + n,
                   "decode/simdjson_parse_only/" + n, "", false, 3.0});
  }
  const std::string big = std::to_string(kPlistSizes.back());
  all.push_back({"read XML plist " + big + ": plistlib.load / library", "plistlib/load_nodes-" + big + ".xml.plist",
                 "plist/read_xml/" + big, "", true, 10.0});
  all.push_back({"read binary plist " + big + ": plistlib.load / library",
                 "plistlib/load_nodes-" + big + ".bin.plist", "plist/read_binary/" + big, "", true, 5.0});
  all.push_back({"write XML plist " + big + ": plistlib.dumps / library",
                 "plistlib/dumps_xml_nodes-" + big + ".xml.plist", "plist/write_xml/" + big, "", true, 5.0});
  all.push_back({"write binary plist " + big + ": plistlib.dumps / library",
                 "plistlib/dumps_binary_nodes-" + big + ".bin.plist", "plist/write_binary/" + big, "", true, 5.0});
  for (const char* way : {"xml_to_binary", "binary_to_xml", "xml_to_xml", "binary_to_binary", "binary_to_json",
                          "json_to_binary"})
    all.push_back({"tool convert " + big + " " + way + ": (peak - 32 MB) / input", "memory/" + std::string(way) + "/" + big,
                   "", "(peak - 32 MB) / input", false, 4.0});
  all.push_back({"echo 500 mixed nodes, --jobs 64: seconds beyond the deadline", "echo/mixed/500", "",
                 "seconds beyond the deadline", false, 1.0});
  // The tool as a user runs it, on the files plistlib wrote, against plistlib itself.
  const std::string py = "nodes-" + big + ".py.";
  all.push_back({"tool check XML " + big + ": plistlib.load / check", "plistlib/load_" + py + "xml.plist",
                 "tool/check_xml/" + big, "", true, 5.0});
  all.push_back({"tool check binary " + big + ": plistlib.load / check", "plistlib/load_" + py + "bin.plist",
                 "tool/check_binary/" + big, "", true, 3.0});
  all.push_back({"tool convert XML->XML " + big + ": plistlib load+dump / convert",
                 "plistlib/roundtrip_" + py + "xml.plist", "tool/convert_xml_to_xml/" + big, "", true, 2.0});
  all.push_back({"tool convert bin->bin " + big + ": plistlib load+dump / convert",
                 "plistlib/roundtrip_" + py + "bin.plist", "tool/convert_binary_to_binary/" + big, "", true, 2.0});
  all.push_back({"toDictionary(): allocations beyond long texts", "dictionary/toDictionary/1000", "",
                 "allocs/node beyond long texts", false, 4.0});
  all.push_back({"text ASCII equal: textEquals / std::string ==", "text/ascii_equal/textEquals",
                 "text/ascii_equal/std_string", "", false, 1.2});
  all.push_back({"text ASCII unequal, same length: textEquals / ==", "text/ascii_unequal_same_length/textEquals",
                 "text/ascii_unequal_same_length/std_string", "", false, 1.2});
  all.push_back({"text ASCII unequal, other length: textEquals / ==", "text/ascii_unequal_other_length/textEquals",
                 "text/ascii_unequal_other_length/std_string", "", false, 1.2});
  for (const char* op : {"fromRawValue", "title", "hashValue"})
    all.push_back({std::string("enum ") + op + ": allocations per operation", std::string("enum/") + op, "",
                   "allocs/op", false, 0.0});
  all.push_back({"import 10,000 AEs from slapd on loopback: seconds", "ldap/import/10000", "", "wall seconds", false, 5.0});
  return all;
}

// Figures shown for orientation, without a target.
struct Information {
  std::string what;
  std::string numerator;
  std::string denominator;  // empty: the counter below of the numerator
  std::string counter;
};

std::vector<Information> information() {
  std::vector<Information> all;
  for (const std::size_t count : kCatalogueSizes) {
    const std::string n = std::to_string(count);
    all.push_back({"decode " + n + ": the Boost.JSON reader / library", "decode/library_boost/" + n,
                   "decode/library/" + n, ""});
    all.push_back({"decode " + n + ": library / simdjson direct", "decode/library/" + n,
                   "decode/simdjson_direct/" + n, ""});
    all.push_back({"decode " + n + ": simdjson direct / simdjson parse only", "decode/simdjson_direct/" + n,
                   "decode/simdjson_parse_only/" + n, ""});
    all.push_back({"decode " + n + ": nlohmann ordered_json / library", "decode/nlohmann_ordered/" + n,
                   "decode/library/" + n, ""});
    all.push_back({"encode " + n + ": nlohmann ordered_json / library", "encode/nlohmann_ordered/" + n,
                   "encode/library/" + n, ""});
    for (const char* way : {"library", "boost_direct", "nlohmann"}) {
      all.push_back({"decode " + n + ": allocations per node, " + way, "decode/" + std::string(way) + "/" + n, "",
                     "allocs/node"});
      all.push_back({"encode " + n + ": allocations per node, " + way, "encode/" + std::string(way) + "/" + n, "",
                     "allocs/node"});
    }
  }
  for (const std::size_t count : kPlistSizes) {
    const std::string n = std::to_string(count);
    for (const char* op : {"read_xml", "read_binary", "write_xml", "write_binary"})
      all.push_back({"plist " + std::string(op) + " " + n + ": MB/s", "plist/" + std::string(op) + "/" + n, "",
                     "bytes_per_second"});
  }
  const std::string first = std::to_string(kPlistSizes.front());
  all.push_back({"read XML plist " + first + ": plistlib.load / library", "plistlib/load_nodes-" + first + ".xml.plist",
                 "plist/read_xml/" + first, ""});
  all.push_back({"read binary plist " + first + ": plistlib.load / library",
                 "plistlib/load_nodes-" + first + ".bin.plist", "plist/read_binary/" + first, ""});
  all.push_back({"write XML plist " + first + ": plistlib.dumps / library",
                 "plistlib/dumps_xml_nodes-" + first + ".xml.plist", "plist/write_xml/" + first, ""});
  all.push_back({"write binary plist " + first + ": plistlib.dumps / library",
                 "plistlib/dumps_binary_nodes-" + first + ".bin.plist", "plist/write_binary/" + first, ""});
  for (const char* way : {"xml_to_binary", "binary_to_xml", "xml_to_xml", "binary_to_binary", "binary_to_json",
                          "json_to_binary"}) {
    const std::string name = "memory/" + std::string(way) + "/" + std::to_string(kPlistSizes.back());
    all.push_back({"tool convert " + std::string(way) + ": peak MB", name, "", "peak MB"});
    all.push_back({"tool convert " + std::string(way) + ": input MB", name, "", "input MB"});
  }
  all.push_back({"dictionary: allocations per toDictionary()", "dictionary/toDictionary/1000", "", "allocs/node"});
  all.push_back({"dictionary: allocations per DicomNode(dictionary)", "dictionary/fromDictionary/1000", "",
                 "allocs/node"});
  all.push_back({"text ASCII equal: ns per textEquals", "text/ascii_equal/textEquals", "", "items_per_second"});
  all.push_back({"text canonically equal (non-ASCII): ns per textEquals", "text/canonical_equal/textEquals", "",
                 "items_per_second"});
  return all;
}

}  // namespace

void SummaryReporter::ReportRuns(const std::vector<Run>& reports) {
  // Each repetition is shown, and of the aggregates only the coefficient of variation,
  // which says how steady the machine was.
  std::vector<Run> shown;
  for (const Run& run : reports)
    if (run.run_type == Run::RT_Iteration || run.aggregate_name == "cv") shown.push_back(run);
  ConsoleReporter::ReportRuns(shown);
  for (const Run& run : reports) {
    if (run.error_occurred || run.run_type != Run::RT_Iteration) continue;
    Measured& m = measured_[run.run_name.function_name];
    m.cpuNanoseconds.push_back(toNanoseconds(run.GetAdjustedCPUTime(), run.time_unit));
    for (const auto& [name, counter] : run.counters) m.counters[name] = counter.value;
  }
}

void SummaryReporter::addMeasurement(const std::string& name, double cpuNanoseconds) {
  measured_[name].cpuNanoseconds.push_back(cpuNanoseconds);
}

void SummaryReporter::addCounter(const std::string& name, const std::string& counter, double value) {
  Measured& m = measured_[name];
  if (m.cpuNanoseconds.empty()) m.cpuNanoseconds.push_back(0);  // so that find() sees it
  m.counters[counter] = value;
}

const SummaryReporter::Measured* SummaryReporter::find(const std::string& name) const {
  const auto it = measured_.find(name);
  return it == measured_.end() || it->second.cpuNanoseconds.empty() ? nullptr : &it->second;
}

double SummaryReporter::cpuTime(const std::string& name) const {
  const auto& times = find(name)->cpuNanoseconds;
  return *std::min_element(times.begin(), times.end());
}

void SummaryReporter::printSummary(std::ostream& out) const {
  char line[256];
  out << "\nSummary: ratios of CPU time per iteration measured in this run (the fastest repetition of each)\n";
  std::snprintf(line, sizeof line, "%-60s %12s %12s  %s\n", "target", "measured", "target", "result");
  out << line;
  int passed = 0, missed = 0, skipped = 0;
  for (const Target& t : targets()) {
    const Measured* num = find(t.numerator);
    const Measured* den = t.denominator.empty() ? nullptr : find(t.denominator);
    const char* op = t.atLeast ? ">=" : "<=";
    std::optional<double> value;
    if (num != nullptr && !t.denominator.empty() && den != nullptr) value = cpuTime(t.numerator) / cpuTime(t.denominator);
    if (num != nullptr && t.denominator.empty() && num->counters.count(t.counter) != 0)
      value = num->counters.at(t.counter);
    const char* unit = t.denominator.empty() ? "" : "x";
    char limit[32];
    std::snprintf(limit, sizeof limit, "%s %.2f%s", op, t.limit, unit);
    if (!value) {
      ++skipped;
      std::snprintf(line, sizeof line, "%-60s %12s %12s  %s\n", t.what.c_str(), "-", limit, "not run");
    } else {
      const bool pass = t.atLeast ? *value >= t.limit : *value <= t.limit;
      ++(pass ? passed : missed);
      char measured[32];
      std::snprintf(measured, sizeof measured, "%.2f%s", *value, unit);
      std::snprintf(line, sizeof line, "%-60s %12s %12s  %s\n", t.what.c_str(), measured, limit,
                    pass ? "PASS" : "MISS");
    }
    out << line;
  }
  std::snprintf(line, sizeof line, "%d passed, %d missed, %d not run\n", passed, missed, skipped);
  out << line;

  out << "\nFor orientation (no target)\n";
  for (const Information& i : information()) {
    const Measured* num = find(i.numerator);
    if (num == nullptr) continue;
    char measured[32];
    if (!i.denominator.empty()) {
      if (find(i.denominator) == nullptr) continue;
      std::snprintf(measured, sizeof measured, "%.2fx", cpuTime(i.numerator) / cpuTime(i.denominator));
    } else if (!i.counter.empty()) {
      if (num->counters.count(i.counter) == 0) continue;
      const double v = num->counters.at(i.counter);
      // A rate is shown as the time one item takes.
      if (i.counter == "items_per_second") std::snprintf(measured, sizeof measured, "%.1f ns", 1e9 / v);
      else if (i.counter == "bytes_per_second") std::snprintf(measured, sizeof measured, "%.1f", v / 1e6);
      else std::snprintf(measured, sizeof measured, "%.2f", v);
    } else {
      continue;
    }
    std::snprintf(line, sizeof line, "%-60s %12s\n", i.what.c_str(), measured);
    out << line;
  }
}

}  // namespace bench
