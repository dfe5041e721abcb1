// Test helpers for the coded forms.
#pragma once

#include <initializer_list>
#include <string_view>

#include "support/capture.hpp"
#include "telvor/coding/coding_error.hpp"
#include "telvor/coding/coding_path.hpp"

namespace telvor::testing_support {

// A coding path made of keys.
inline CodingPath keyPath(std::initializer_list<std::string_view> names) {
  CodingPath path;
  for (auto n : names) path.push_back(CodingPathComponent::key(n));
  return path;
}

}  // namespace telvor::testing_support
