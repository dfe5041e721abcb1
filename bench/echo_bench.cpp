// `telvor-nodes echo` of a mixed catalogue of 500 nodes, most of them unreachable: web and
// DICOM nodes at a listener that never answers (each takes the whole timeout), at closed
// ports and at an address of a documentation network. Measured as the tool runs it, wall
// time against the deadline the run is bound by.
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <arpa/inet.h>
#include <netinet/in.h>

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>

#include "benches.hpp"
#include "summary.hpp"

namespace bench {
namespace {

namespace fs = std::filesystem;

std::string nodeJson(std::size_t i, std::uint16_t port, const std::string& address, bool web) {
  const std::string p = std::to_string(port);
  return R"({"aetitle":"NODE)" + std::to_string(i) + R"(","name":"node )" + std::to_string(i) + R"(","address":")" +
         address + R"(","port":")" + p + R"(","transferSyntax":2,"retrieveMode":)" + (web ? "2" : "1") +
         R"(,"isDicomNode":true,"wadoSettings":{"port":)" + p +
         R"(,"url":"/dicom-web","username":"reader","password":"secret","retrieveSyntax":0,"https":false}})";
}

}  // namespace

void measureEchoDeadline(SummaryReporter& reporter, std::ostream& log) {
#ifdef TELVOR_BENCH_TOOL
  constexpr std::size_t kNodes = 500;
  constexpr unsigned kJobs = 64;
  constexpr double kTimeout = 2.0;
  // A listener that never accepts: the kernel completes connections, nobody answers.
  const int silent = ::socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  if (::bind(silent, reinterpret_cast<sockaddr*>(&address), length) != 0 || ::listen(silent, 1024) != 0 ||
      ::getsockname(silent, reinterpret_cast<sockaddr*>(&address), &length) != 0) {
    log << "echo: no silent listener could be opened; not measured\n";
    ::close(silent);
    return;
  }
  const std::uint16_t silentPort = ntohs(address.sin_port);
  const fs::path folder = fs::temp_directory_path() / ("telvor-bench-echo-" + std::to_string(::getpid()));
  fs::create_directories(folder);
  std::string nodes = "[";
  for (std::size_t i = 0; i < kNodes; ++i) {
    // One in five never answers; the rest are refused (closed port 1) or unreachable.
    const bool web = i % 2 == 0;
    const std::string at = i % 5 == 0 ? "127.0.0.1" : (i % 5 == 1 ? "192.0.2.1" : "127.0.0.1");
    const std::uint16_t port = i % 5 == 0 ? silentPort : 1;
    nodes += (i == 0 ? "" : ",") + nodeJson(i, port, at, web);
  }
  std::ofstream(folder / "mixed.json") << nodes << "]";
  const std::string command = std::string("'") + TELVOR_BENCH_TOOL + "' echo '" + (folder / "mixed.json").string() +
                              "' --jobs " + std::to_string(kJobs) + " --timeout 2 > '" + (folder / "out").string() +
                              "' 2>&1";
  const auto start = std::chrono::steady_clock::now();
  const int raw = std::system(command.c_str());
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  ::close(silent);
  const int status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
  fs::remove_all(folder);
  if (status != 1) {
    log << "echo: the tool ended with status " << status << " (1 expected: nodes offline); not measured\n";
    return;
  }
  // Each job takes at most the timeout per node, so the run is bound by rounds x timeout.
  const double deadline = std::ceil(static_cast<double>(kNodes) / kJobs) * kTimeout;
  log << "echo: " << kNodes << " mixed nodes, --jobs " << kJobs << ", --timeout 2: " << seconds << " s (bound "
      << deadline << " s)\n";
  reporter.addCounter("echo/mixed/500", "seconds", seconds);
  reporter.addCounter("echo/mixed/500", "seconds beyond the deadline", seconds - deadline);
#else
  (void)reporter;
  log << "echo: the tool is not built; not measured\n";
#endif
}

}  // namespace bench
