#!/usr/bin/env bash
# Installs what building and testing kvshapes needs on Debian 12; runs as root or through sudo.
# With the argument "peers" it also installs the libraries that the benchmarks compare with.
set -euo pipefail

packages=(
  git g++ cmake ninja-build ccache pkg-config
  libboost-dev libboost-thread-dev librhash-dev libfmt-dev libcli11-dev nlohmann-json3-dev
  libgtest-dev libgmock-dev libbenchmark-dev
  clang-format-14
)
if [ "${1:-}" = peers ]; then
  packages+=(libcgal-dev libeigen3-dev libembree-dev libfcl-dev libgeos-dev libgeos++-dev libnanoflann-dev libopenmesh-dev libboost-serialization-dev
             libocct-foundation-dev libocct-modeling-data-dev libocct-modeling-algorithms-dev)
fi

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
