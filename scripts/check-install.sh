#!/usr/bin/env bash
# Proves that qorSupport installs and packages as a C++ developer expects,
# from a finished build (default build/ci):
#   1. the API reference builds without a Doxygen warning;
#   2. `cmake --install` into a temporary prefix, then examples/stock built
#      with find_package(qorSupport) and run, and built again with
#      `pkg-config --cflags --libs qorsupport` and run;
#   3. the Debian packages built with CPack, checked by lintian (no errors),
#      installed with dpkg -i, examples/stock built against /usr and run,
#      and the packages removed again.
# Run as root on Debian (step 3 installs packages); scripts/test-all.sh runs it.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build/ci}
jobs=$(nproc)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
export QOR_UI=headless

echo "-- API reference"
cmake -S . -B "$build" -DQOR_PACKAGE_DEBIAN=ON -DQOR_DOC_DIR=share/doc/libqorsupport-doc >/dev/null
cmake --build "$build" -j "$jobs" --target all docs >/dev/null

echo "-- install into a temporary prefix"
prefix=$work/prefix
cmake --install "$build" --prefix "$prefix" >/dev/null
cmake --install "$build" --prefix "$prefix" --component doc >/dev/null
# Only the public headers, and no test helper, are installed.
if find "$prefix/include" -name '*test*' | grep -q .; then
  echo "a test helper was installed"; exit 1
fi
if grep -rhoE '#include <[^>]+>' "$prefix/include" | grep -vE '<(qorsupport/|[a-z_]+>)'; then
  echo "an installed header includes a third-party header"; exit 1
fi
test -f "$prefix/share/man/man1/qor.1.gz"
LD_LIBRARY_PATH=$prefix/lib "$prefix/bin/qor" --version
if [ -d "$build/python" ]; then
  cmake --install "$build" --prefix "$prefix" --component python >/dev/null
  LD_LIBRARY_PATH=$prefix/lib PYTHONPATH=$prefix/lib/python3/dist-packages /usr/bin/python3 -c \
    'import qorsupport; print("python module:", qorsupport.Dispatch("qorProcs").PadNumber(7, "0", 3))'
fi

run_example() {  # label build-dir [library path]
  local label=$1 dir=$2 program
  for program in stock stock-qt; do
    [ -x "$dir/$program" ] || continue
    echo "-- example ($label, $program)"
    mkdir -p "$work/run-$label"
    LD_LIBRARY_PATH=${3:-} "$dir/$program" "$work/run-$label"
  done
}
cmake -S examples/stock -B "$work/stock-cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/stock-cmake" >/dev/null
run_example cmake "$work/stock-cmake" "$prefix/lib"

mkdir -p "$work/stock-pc"
# shellcheck disable=SC2046
g++ -std=c++20 -Wall -Wextra -Werror -o "$work/stock-pc/stock" examples/stock/main.cc \
  $(PKG_CONFIG_PATH=$prefix/lib/pkgconfig pkg-config --cflags --libs qorsupport)
run_example pkg-config "$work/stock-pc" "$prefix/lib"

echo "-- Debian packages"
(cd "$build" && cpack -G DEB -B "$work/debs" >/dev/null)
ls "$work/debs"/*.deb
lintian --fail-on error --no-tag-display-limit "$work/debs"/*.deb
dpkg -i "$work/debs"/*.deb >/dev/null
packages=$(for deb in "$work/debs"/*.deb; do dpkg-deb -f "$deb" Package; done)
# shellcheck disable=SC2086
trap 'dpkg -r $packages >/dev/null; rm -rf "$work"' EXIT
qor --version
if dpkg -s python3-qorsupport >/dev/null 2>&1; then
  /usr/bin/python3 -c 'import qorsupport; print("python module:", qorsupport.Dispatch("qorProcs").PadNumber(7, "0", 3))'
fi
cmake -S examples/stock -B "$work/stock-usr" -G Ninja >/dev/null
cmake --build "$work/stock-usr" >/dev/null
run_example usr "$work/stock-usr"
mkdir -p "$work/stock-usr-pc"
# shellcheck disable=SC2046
g++ -std=c++20 -o "$work/stock-usr-pc/stock" examples/stock/main.cc $(pkg-config --cflags --libs qorsupport)
run_example usr-pkg-config "$work/stock-usr-pc"
echo "install, packages and example: passed"
