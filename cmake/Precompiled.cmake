# Whether the headers of large libraries are read once and kept. Only g++ and clang++ themselves do: ccache
# would not know what is in them, clang-tidy cannot read those of others, and gcov and another system's
# compiler have ways of their own.
if(CMAKE_CXX_COMPILER_LAUNCHER OR CMAKE_CROSSCOMPILING OR TARVEK_COVERAGE OR NOT TARVEK_TESTS)
  set(TARVEK_PRECOMPILES OFF)
else()
  set(TARVEK_PRECOMPILES ON)
endif()
