#!/usr/bin/env bash
# Installs a build of the library, then builds and runs the consumer against the installed tree, once through the CMake
# package and once through pkg-config.
# Usage: run.sh SOURCE LIBRARY_BUILD WORK_DIR shared|static
set -euo pipefail
source=$1 build=$2 work=$3 kind=$4
rm -rf "$work/prefix" "$work/consumer"
mkdir -p "$work"

if [ "$kind" = static ]; then
  # Beside the shared build, so that the compiler cache sees the same relative paths.
  static=$(dirname "$build")/$(basename "$build")-static
  cmake -S "$source" -B "$static" -G Ninja -DBUILD_SHARED_LIBS=OFF -DKVSHAPES_TESTS=OFF -DKVSHAPES_EXAMPLES=OFF \
    -DKVSHAPES_TOOLS=OFF -DCMAKE_BUILD_TYPE=Debug "-DCMAKE_CXX_FLAGS_DEBUG=-O1 -g1" -DKVSHAPES_WARNINGS_AS_ERRORS=ON
  build=$static
  cmake --build "$build"
fi
cmake --install "$build" --prefix "$work/prefix" >/dev/null

cmake -S "$source/tests/consumer" -B "$work/consumer" -G Ninja -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_BUILD_TYPE=Debug
cmake --build "$work/consumer"
"$work/consumer/consumer"

export PKG_CONFIG_PATH=$work/prefix/lib/pkgconfig:$work/prefix/lib/x86_64-linux-gnu/pkgconfig
options=()
[ "$kind" = static ] && options=(--static)
read -ra flags <<<"$(pkg-config --cflags --libs "${options[@]}" kvshapes)"
c++ -std=c++20 "$source/tests/consumer/main.cpp" "${flags[@]}" -o "$work/by-pkg-config"
LD_LIBRARY_PATH=$(pkg-config --variable=libdir kvshapes) "$work/by-pkg-config"
