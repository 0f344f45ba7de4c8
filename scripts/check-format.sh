#!/usr/bin/env bash
# Fails when a source is not as clang-format would write it; `--fix` rewrites it.
set -euo pipefail
cd "$(dirname "$0")/.."
mode=(--dry-run --Werror)
[ "${1:-}" = --fix ] && mode=(-i)
find include src tools examples tests benchmarks fuzz -name '*.h' -o -name '*.cpp' 2>/dev/null | sort |
  xargs clang-format-16 "${mode[@]}"
