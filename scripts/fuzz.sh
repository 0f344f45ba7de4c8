#!/usr/bin/env bash
# Builds the fuzz targets and runs each over its corpus and a fixed number of attempts; with --soak each goes on
# for two minutes, from what earlier runs have found. Without libFuzzer it says so and succeeds.
set -euo pipefail
cd "$(dirname "$0")/.."
source scripts/dependencies.sh

if ! echo 'extern "C" int LLVMFuzzerTestOneInput(const unsigned char*, unsigned long) { return 0; }' |
  clang++-16 -fsanitize=fuzzer -x c++ - -o /dev/null 2>/dev/null; then
  echo "No fuzzing: clang-16 with libFuzzer is missing." >&2
  exit 0
fi
labels=(--label-exclude soak)
[ "${1:-}" = --soak ] && labels=()
build_preset fuzz fuzzers
ctest --test-dir build/fuzz/fuzz -j "$(nproc)" "${labels[@]}" --output-on-failure
