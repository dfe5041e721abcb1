// KeyBoardKeyCode: ten physical keys by the 16-bit virtual key code that the desktop
// platform's keyboard events report, so a received code turns into a case directly.
//
// A coded enumeration with rawValue, fromRawValue, equality and hashing only: no allCases,
// id, title or coded form. Codes are unsigned 16-bit and unrelated to the declaration
// order (the arrows are declared right, left, down, up; their codes run left, right,
// down, up). `delete` is a C++ keyword, so that case is spelled `delete_`.
//
//   if (auto key = telvor::fromRawValue<telvor::KeyBoardKeyCode>(event.keyCode))
//     if (*key == telvor::KeyBoardKeyCode::escape) closeSheet();
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "telvor/coding/coded_enum.hpp"

namespace telvor {

enum class KeyBoardKeyCode : std::uint16_t {
  letterA = 0x00,
  letterD = 0x02,
  backspace = 0x33,  // erases backwards
  escape = 0x35,
  delete_ = 0x75,    // erases forwards
  keyboardSpacebar = 0x31,
  keyboardRightArrow = 0x7C,
  keyboardLeftArrow = 0x7B,
  keyboardDownArrow = 0x7D,
  keyboardUpArrow = 0x7E,
};

template <>
struct EnumTraits<KeyBoardKeyCode> {
  static constexpr std::string_view name = "KeyBoardKeyCode";
  static constexpr EnumFeatures features{};
  using K = KeyBoardKeyCode;
  static constexpr auto rows = casesOnly(
      K::letterA, K::letterD, K::backspace, K::escape, K::delete_, K::keyboardSpacebar,
      K::keyboardRightArrow, K::keyboardLeftArrow, K::keyboardDownArrow, K::keyboardUpArrow);
};

}  // namespace telvor
