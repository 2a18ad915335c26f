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

# The RTF reader's libFuzzer target, built with clang, run for a bounded time.
echo "== fuzz: rtf (60 s)"
CC=clang CXX=clang++ cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DQOR_BUILD_TESTS=OFF -DQOR_FUZZ=ON >/dev/null
cmake --build build/fuzz -j "$jobs" --target rtf_fuzz
rtf_corpus=$(mktemp -d)
QT_QPA_PLATFORM=offscreen build/fuzz/fuzz/rtf/rtf_fuzz -dict=fuzz/rtf/rtf.dict \
  -max_total_time=60 -timeout=10 -rss_limit_mb=2048 "$rtf_corpus" fuzz/rtf/seeds
rm -rf "$rtf_corpus"
