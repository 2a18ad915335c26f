#!/usr/bin/env bash
# Installs what building and testing qorSupport needs on Debian 12, as root.
# Safe to run again: apt-get skips what is already there.
set -euo pipefail

packages=(
  build-essential cmake ninja-build ccache pkg-config
  libgtest-dev libgmock-dev libbenchmark-dev
  nlohmann-json3-dev
  libsqlite3-dev sqlite3
  # ICU's collator: Jet's general sort order for the engine's texts.
  libicu-dev
  clang libclang-rt-dev
  clang-format
  qt6-base-dev libgl-dev fonts-dejavu-core
  libcups2-dev cups-daemon cups-client xdg-utils
  # Wine and mingw-w64 for the differential test of the registry and INI code.
  wine64 g++-mingw-w64-x86-64
  # Rich text: Qt's document model, iconv code pages (libc), LibreOffice Writer
  # for the differential tests.
  qt6-base-dev libreoffice-writer-nogui
  # Legacy Jet (.mdb) files: libmdb for the engine's read-only backend, the
  # mdbtools programs the tests compare with. (A further test file is fetched
  # with the machine's npm, which comes with Node.js; without it those tests
  # are skipped.)
  mdbtools-dev mdbtools
  # The Python module: pybind11 over Debian's Python 3, its tests with pytest.
  python3-dev pybind11-dev python3-pybind11 python3-pytest
  # ODBC: the driver manager, the SQLite driver (the embedded target) and
  # psqlODBC with a PostgreSQL server that the tests start on loopback.
  unixodbc unixodbc-dev libsqliteodbc odbc-postgresql postgresql
  # Packaging: the API reference, the Debian packages and their checks.
  doxygen dpkg-dev fakeroot file lintian
)

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  echo "Installing: ${missing[*]}"
  export DEBIAN_FRONTEND=noninteractive
  apt-get -o DPkg::Lock::Timeout=900 update -qq
  apt-get -o DPkg::Lock::Timeout=900 install -y -qq --no-install-recommends "${missing[@]}"
fi
