#!/usr/bin/env bash
# Builds and runs everything that can fail: all tests, the examples and the projects that use the installed package.
set -euo pipefail
cd "$(dirname "$0")"
scripts/setup.sh
cmake --preset dev
cmake --build --preset dev
ctest --preset dev -j "$(nproc)"
