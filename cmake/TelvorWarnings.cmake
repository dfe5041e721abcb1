# Warnings every Telvor target builds with; TELVOR_WERROR makes them errors.
# Two g++ 12 warnings are switched off under g++ because they fire falsely in the
# standard library's own inlined code: -Wmaybe-uninitialized on std::optional<std::string>
# members at -O2 (GCC bug 105562 and relatives; records hold many of them) and
# -Wrestrict on std::string concatenation at -O3 (GCC bug 105329).
add_library(telvor_warnings INTERFACE)
target_compile_options(telvor_warnings INTERFACE -Wall -Wextra -Wpedantic
  $<$<BOOL:${TELVOR_WERROR}>:-Werror>
  $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized -Wno-restrict>)
