// The end-of-run summary: each target of the benchmarks as a ratio of two timings (or a
// counter) measured in the same run, with PASS or MISS.
//
//   bench::SummaryReporter reporter;              // prints the usual console table too
//   benchmark::RunSpecifiedBenchmarks(&reporter);
//   reporter.printSummary(std::cout);
#pragma once

#include <benchmark/benchmark.h>

#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace bench {

class SummaryReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& reports) override;

  // A CPU time per iteration measured elsewhere (another program), under `name`.
  void addMeasurement(const std::string& name, double cpuNanoseconds);
  // A figure measured elsewhere, as counter `counter` of `name`.
  void addCounter(const std::string& name, const std::string& counter, double value);

  // The targets' table; a target whose benchmarks were filtered out says so.
  void printSummary(std::ostream& out) const;

 private:
  struct Measured {
    std::vector<double> cpuNanoseconds;  // per iteration, one per repetition
    std::map<std::string, double> counters;
  };
  // The benchmark's measurements, or null when it did not run.
  const Measured* find(const std::string& name) const;
  // The CPU time per iteration of its fastest repetition: on a shared machine, other
  // work only ever adds time, so the fastest repetition is the least disturbed.
  double cpuTime(const std::string& name) const;

  std::map<std::string, Measured> measured_;
};

}  // namespace bench
