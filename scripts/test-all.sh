#!/usr/bin/env bash
# Installs what is missing, builds qorSupport and runs the whole test suite:
# the CI build (warnings are errors) and the AddressSanitizer +
# UndefinedBehaviorSanitizer build.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
jobs=$(nproc)

for preset in ci asan; do
  echo "== build: $preset"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$jobs"
  echo "== test: $preset"
  ctest --preset "$preset" -j "$jobs"
done

# A bounded run of the Jet SQL translator's fuzz target (needs clang).
if command -v clang++ >/dev/null; then
  echo "== fuzz: jet_sql (60 s)"
  CC=clang CXX=clang++ cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DQOR_FUZZ=ON -DQOR_BUILD_TESTS=OFF >/dev/null
  cmake --build build/fuzz -j "$jobs" --target jet_sql_fuzz
  mkdir -p build/fuzz/corpus
  build/fuzz/fuzz/jet_sql_fuzz -max_total_time=60 -print_final_stats=1 -artifact_prefix=build/fuzz/ \
    build/fuzz/corpus fuzz/corpus/jet_sql
fi
