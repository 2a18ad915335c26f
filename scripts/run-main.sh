#!/usr/bin/env bash
# Installs what is missing, builds qorSupport, and runs the main job: builds
# the example application database (template tables, one marked DATA) and
# creates its tables on a server through ODBC, printing what was created.
#
#   bash scripts/run-main.sh                  the embedded default: a SQLite
#                                             file through the SQLite ODBC driver
#   bash scripts/run-main.sh --dsn NAME [--user U] [--password P] [--dialect D]
#                                             a server's data source instead
#
# The files go to build/main-job/. Any arguments are handed to `qor deploy`.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/install-deps.sh
cmake --preset release >/dev/null
cmake --build --preset release

qor=$PWD/build/release/tools/qor/qor
mkdir -p build/main-job
cd build/main-job
echo "== qor deploy $* (in build/main-job; message boxes go to standard error)"
QOR_UI=headless "$qor" deploy "$@"
