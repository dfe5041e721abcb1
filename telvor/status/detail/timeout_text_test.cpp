#include "telvor/status/detail/timeout_text.hpp"

#include <gtest/gtest.h>

namespace {

using std::chrono::milliseconds;

// The fraction keeps its leading zeros and drops its trailing ones.
TEST(TimeoutText, WholeSecondsThenTheSignificantMilliseconds) {
  const struct {
    milliseconds timeout;
    const char* text;
  } cases[] = {
      {milliseconds(0), "0 s"},
      {milliseconds(2000), "2 s"},
      {milliseconds(1500), "1.5 s"},
      {milliseconds(250), "0.25 s"},
      {milliseconds(10), "0.01 s"},
      {milliseconds(1001), "1.001 s"},
      {milliseconds(86400000), "86400 s"},
  };
  for (const auto& c : cases) EXPECT_EQ(telvor::detail::timeoutText(c.timeout), c.text) << c.timeout.count();
}

}  // namespace
