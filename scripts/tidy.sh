#!/usr/bin/env bash
# Runs clang-tidy over the sources of the dev build. A source whose preprocessed text has passed before is
# skipped, so that a second run is quick.
set -uo pipefail
cd "$(dirname "$0")/.."
build=build/dev
stamps=$build/tidy
mkdir -p "$stamps"

check() {
  local source=$1 stamp
  stamp="$stamps/$( { cat .clang-tidy "$source"; clang-16 -x c++ -std=c++20 -Iinclude -Isrc -Itests -Itools -MM "$source" 2>/dev/null |
    tr -d '\\' | tr ' ' '\n' | grep -E '^(include|src|tests|tools|examples|benchmarks)/' | sort -u | xargs cat; } |
    sha256sum | cut -d' ' -f1)"
  [ -e "$stamp" ] && return 0
  # The compile commands are those of g++, some of whose warnings clang does not know.
  clang-tidy-16 -p "$build" --quiet --extra-arg=-Wno-unknown-warning-option "$source" 2>/dev/null && touch "$stamp"
}
export -f check
export build stamps

find src tools examples tests -name '*.cpp' | sort | xargs -P "$(nproc)" -I{} bash -c 'check {}'
