#!/usr/bin/env bash
# Formats every C++ file in place; with --check it only reports and fails if one differs.
set -euo pipefail
cd "$(dirname "$0")/.."
mode=(-i)
[ "${1:-}" = --check ] && mode=(--dry-run -Werror)
git ls-files -co --exclude-standard '*.h' '*.cpp' | xargs -r clang-format-14 "${mode[@]}"
