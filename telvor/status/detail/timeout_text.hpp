// Internal: a time allowed, as the probes' reasons show it ("2 s", "1.5 s", "0.25 s"), so
// that the DICOM and the web probe word their timeouts alike.
#pragma once

#include <chrono>
#include <string>

namespace telvor::detail {

// Whole seconds, then the milliseconds without trailing zeros; never negative input.
inline std::string timeoutText(std::chrono::milliseconds timeout) {
  std::string text = std::to_string(timeout.count() / 1000);
  if (const auto ms = timeout.count() % 1000; ms != 0) {
    std::string fraction = std::to_string(1000 + ms).substr(1);
    fraction.erase(fraction.find_last_not_of('0') + 1);
    text += "." + fraction;
  }
  return text + " s";
}

}  // namespace telvor::detail
