#!/usr/bin/env bash
# Installs what is missing, builds qorSupport, and runs the main job: the
# automation host answering a small demo script, then the message-box demo on
# the headless user interface.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release

qor=build/release/tools/qor/qor
echo "== qor automation, answering examples/demo.jsonl"
"$qor" automation < examples/demo.jsonl
echo "== qor demo (headless: boxes go to standard error, default buttons answer)"
QOR_UI=headless "$qor" demo
