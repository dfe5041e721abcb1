# Warnings every Telvor target builds with; TELVOR_WERROR makes them errors.
# g++ 12 reports -Wmaybe-uninitialized falsely for std::optional<std::string> members
# at -O2 (GCC bug 105562 and relatives); records hold many of them, so that one warning
# is switched off under g++.
add_library(telvor_warnings INTERFACE)
target_compile_options(telvor_warnings INTERFACE -Wall -Wextra -Wpedantic
  $<$<BOOL:${TELVOR_WERROR}>:-Werror>
  $<$<AND:$<BOOL:${TELVOR_WERROR}>,$<CXX_COMPILER_ID:GNU>>:-Wno-maybe-uninitialized>)
