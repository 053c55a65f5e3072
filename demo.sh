#!/usr/bin/env bash
# Builds the release and runs the main job on a real model: what the mesh is, its nearest points and its ray hits.
set -euo pipefail
cd "$(dirname "$0")"
scripts/setup.sh
cmake --preset release -DKVSHAPES_EXAMPLES=ON
cmake --build --preset release --target kvshapes_tool example_mesh_queries

model=data/fandisk.txt
tool=build/release/tools/kvshapes/kvshapes
say() { printf '\n$ kvshapes %s\n' "$*"; "$tool" "$@"; }
say info "$model"
say nearest "$model" --point 0,15,0 --point 1,16,-3 --point=-5,12.5,0.25
say ray "$model" --origin=-10,15,-1 --direction 1,0,0
say ray "$model" --origin=-10,15,-1 --direction 1,0,0 --all

printf '\nThe same library in a program, checked against brute force:\n'
build/release/examples/example_mesh_queries "$model"
