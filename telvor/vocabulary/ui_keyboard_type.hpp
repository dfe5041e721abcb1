// UIKeyboardType: the kind of keyboard a text field asks for (plain text, digits, e-mail
// address, web address, ...). The library only names the kinds; nothing in it acts on them.
//
// A coded enumeration with rawValue, fromRawValue, equality and hashing only: no allCases,
// id, title or coded form. The code is the position, 0 to 11. `default` is a C++ keyword,
// so that case is spelled `default_`; it keeps code 0.
//
//   telvor::rawValue(telvor::UIKeyboardType::emailAddress);  // 7
//   telvor::fromRawValue<telvor::UIKeyboardType>(12);        // std::nullopt
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "telvor/coding/coded_enum.hpp"

namespace telvor {

enum class UIKeyboardType : std::int64_t {
  default_ = 0,
  asciiCapable = 1,
  numbersAndPunctuation = 2,
  URL = 3,
  numberPad = 4,
  phonePad = 5,
  namePhonePad = 6,
  emailAddress = 7,
  decimalPad = 8,
  twitter = 9,
  webSearch = 10,
  asciiCapableNumberPad = 11,
};

template <>
struct EnumTraits<UIKeyboardType> {
  static constexpr std::string_view name = "UIKeyboardType";
  static constexpr EnumFeatures features{};
  using U = UIKeyboardType;
  static constexpr auto rows = casesOnly(
      U::default_, U::asciiCapable, U::numbersAndPunctuation, U::URL, U::numberPad, U::phonePad,
      U::namePhonePad, U::emailAddress, U::decimalPad, U::twitter, U::webSearch, U::asciiCapableNumberPad);
};

// The code is the position: fromRawValue is a bounds test.
static_assert(codesArePositions<UIKeyboardType>, "keyboard kind codes are their positions");

}  // namespace telvor
