// Builds a PropertyDictionary from fuzz input: entries of every kind (other included,
// nested lists and dictionaries too) under the keys the records read, keys that nearly
// match them, and arbitrary keys; values drawn from pools of interesting texts and
// integers or straight from the input.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>

#include "telvor/coding/property_dictionary.hpp"

namespace telvor::fuzz {

PropertyDictionary buildDictionary(FuzzedDataProvider& input, int depth = 0);

}  // namespace telvor::fuzz
