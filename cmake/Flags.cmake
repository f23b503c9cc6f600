# All targets get their compile flags from one interface target.
# -ffp-contract=off: a fused multiply-add would change the last digits between machines.
add_library(tarvek_flags INTERFACE)
target_compile_options(tarvek_flags INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -ffp-contract=off)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # g++ 12 wrongly warns of overlapping copies and of reads past the end, and writes, inside std::string; of the
  # latter only with precompiled standard headers.
  target_compile_options(tarvek_flags INTERFACE -Wno-restrict)
  if(TARVEK_PRECOMPILES)
    target_compile_options(tarvek_flags INTERFACE -Wno-array-bounds -Wno-stringop-overflow)
  endif()
endif()
if(TARVEK_WERROR)
  target_compile_options(tarvek_flags INTERFACE -Werror)
endif()
if(TARVEK_COVERAGE)
  target_compile_options(tarvek_flags INTERFACE --coverage -fprofile-update=atomic)
  target_link_options(tarvek_flags INTERFACE --coverage)
endif()
