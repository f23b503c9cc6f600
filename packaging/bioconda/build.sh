#!/bin/bash
# Run by conda-build in the unpacked sources, with PREFIX, CXX and CXXFLAGS in the environment.
set -euo pipefail

# The msnumpress library, as a static one below $numpress.
numpress=$PWD/msnumpress-built
mkdir -p "$numpress/include/libmsnumpress"
cp msnumpress/src/main/cpp/MSNumpress.hpp "$numpress/include/libmsnumpress/"
# shellcheck disable=SC2086 # several flags
"${CXX:-c++}" ${CXXFLAGS:-} -O2 -ffp-contract=off -c msnumpress/src/main/cpp/MSNumpress.cpp -o "$numpress/MSNumpress.o"
"${AR:-ar}" rcs "$numpress/libmsnumpress.a" "$numpress/MSNumpress.o"

# shellcheck disable=SC2086 # several arguments
cmake -S . -B build -G Ninja ${CMAKE_ARGS:-} \
  -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_INSTALL_PREFIX="$PREFIX" \
  -DCMAKE_PREFIX_PATH="$PREFIX" \
  -DMSNUMPRESS_INCLUDE_DIR="$numpress/include" \
  -DMSNUMPRESS_LIBRARY="$numpress/libmsnumpress.a"
cmake --build build -j "${CPU_COUNT:-2}"
cmake --install build --strip
