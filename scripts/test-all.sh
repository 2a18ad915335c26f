#!/usr/bin/env bash
# Installs what is missing, builds qorSupport and runs the whole test suite:
# the CI build (warnings are errors) with its install, Debian packages and
# example application (scripts/check-install.sh), and the AddressSanitizer +
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
  if [ "$preset" = ci ]; then
    # The API reference, the install, the Debian packages and the example
    # application built against them.
    echo "== install and packages"
    bash scripts/check-install.sh build/ci
  fi
done

# The parsers' libFuzzer targets, built with clang, each run for a bounded time.
echo "== fuzz"
CC=clang CXX=clang++ cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DQOR_FUZZ=ON -DQOR_BUILD_TESTS=OFF >/dev/null
cmake --build build/fuzz -j "$jobs" --target jet_sql_fuzz export_file_fuzz ini_fuzz rtf_fuzz
run_fuzz() {  # target seconds [extra arguments...]
  local target=$1 seconds=$2 corpus
  shift 2
  corpus=$(mktemp -d)
  echo "-- $target (${seconds} s)"
  "$target" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 "$corpus" "$@"
  rm -rf "$corpus"
}
run_fuzz build/fuzz/fuzz/jet_sql_fuzz 60 -dict=fuzz/jet_sql.dict fuzz/corpus/jet_sql
run_fuzz build/fuzz/fuzz/registry/export_file_fuzz 30 fuzz/corpus/export_file
run_fuzz build/fuzz/fuzz/registry/ini_fuzz 30 fuzz/corpus/ini
QT_QPA_PLATFORM=offscreen run_fuzz build/fuzz/fuzz/rtf/rtf_fuzz 60 -dict=fuzz/rtf/rtf.dict fuzz/rtf/seeds
