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
