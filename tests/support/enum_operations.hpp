// Which operations of the coded-enumeration contract an enumeration has, as concepts, so
// tests can assert at compile time that a missing operation does not exist.
#pragma once

#include "telvor/coding/coded_enum.hpp"

namespace telvor::testing_support {

template <class E>
concept HasAllCases = requires { allCases<E>(); };
template <class E>
concept HasId = requires(E e) { id(e); };
template <class E>
concept HasTitle = requires(E e) { title(e); };

}  // namespace telvor::testing_support
