// Test helpers for the coded forms.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <stdexcept>
#include <string_view>

#include "telvor/coding/coding_error.hpp"
#include "telvor/coding/coding_path.hpp"

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

// A coding path made of keys.
inline CodingPath keyPath(std::initializer_list<std::string_view> names) {
  CodingPath path;
  for (auto n : names) path.push_back(CodingPathComponent::key(n));
  return path;
}

}  // namespace telvor::testing_support
