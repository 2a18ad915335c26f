#!/usr/bin/env bash
# Installs what is missing, builds qorSupport and runs the whole test suite:
# the CI build (warnings are errors) and the AddressSanitizer +
# UndefinedBehaviorSanitizer build.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
jobs=$(nproc)
# Let ccache share results between checkouts in different folders.
export CCACHE_BASEDIR="$PWD" CCACHE_NOHASHDIR=true

for preset in ci asan; do
  echo "== build: $preset"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$jobs"
  echo "== test: $preset"
  ctest --preset "$preset" -j "$jobs"
done

# The registry area's libFuzzer targets (export file and INI parsers), a
# bounded run each.
echo "== fuzz: registry"
CC=clang CXX=clang++ cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DQOR_FUZZ=ON -DQOR_BUILD_TESTS=OFF >/dev/null
cmake --build build/fuzz -j "$jobs" --target export_file_fuzz ini_fuzz
for target in export_file_fuzz ini_fuzz; do
  corpus=$(mktemp -d)
  build/fuzz/fuzz/registry/$target -max_total_time=30 "$corpus"
  rm -rf "$corpus"
done
