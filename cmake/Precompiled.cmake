# Whether to precompile headers for the tests. Only g++ and clang++ themselves can: ccache
# would not see changes in them, clang-tidy cannot read those of others, and gcov and cross
# compilers work differently.
if(CMAKE_CXX_COMPILER_LAUNCHER OR CMAKE_CROSSCOMPILING OR TARVEK_COVERAGE OR NOT TARVEK_TESTS)
  set(TARVEK_PRECOMPILES OFF)
else()
  set(TARVEK_PRECOMPILES ON)
endif()
