// Runs a call that must fail and hands back what it raised, so that a test states the
// error's details instead of a try/catch around each call.
//
//   const auto e = capture<PlistError>([&] { plist::parse(bytes); });
//   EXPECT_EQ(e.kind(), PlistError::Kind::malformed);
#pragma once

#include <gtest/gtest.h>

#include <stdexcept>

namespace telvor::testing_support {

// Runs `f` and returns the Error it raises; fails the test when it raises nothing.
template <class Error, class F>
Error capture(F&& f) {
  try {
    f();
  } catch (const Error& e) {
    return e;
  }
  ADD_FAILURE() << "no error raised";
  throw std::logic_error("no error raised");
}

}  // namespace telvor::testing_support
