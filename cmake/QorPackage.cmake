# Debian packages with CPack, one per install component:
#   libqorsupport0      runtime   the shared libraries (qorsupport, the Qt backend)
#   libqorsupport-dev   dev       headers, SONAME links, CMake package, pkg-config
#   qor                 tool      the qor program, its manual page and completion
#   libqorsupport-doc   doc       the API reference
#   python3-qorsupport  python    the Python module qorsupport (when it is built)
# Dependencies come from dpkg-shlibdeps. scripts/build-debs.sh configures a
# build with QOR_PACKAGE_DEBIAN=ON and runs cpack; lintian checks the result.

option(QOR_PACKAGE_DEBIAN "Install the Debian documentation files (copyright, changelog)" OFF)

set(QOR_DEB_PACKAGES
  runtime libqorsupport0
  dev libqorsupport-dev
  tool qor
  doc libqorsupport-doc)
if(TARGET qorsupport_python)
  list(APPEND QOR_DEB_PACKAGES python python3-qorsupport)
endif()

if(QOR_PACKAGE_DEBIAN)
  configure_file(packaging/debian/changelog ${PROJECT_BINARY_DIR}/debian/changelog.Debian @ONLY)
  execute_process(COMMAND gzip -n -9 -f ${PROJECT_BINARY_DIR}/debian/changelog.Debian
                  RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "gzip of the Debian changelog failed")
  endif()
  set(pairs ${QOR_DEB_PACKAGES})
  while(pairs)
    list(POP_FRONT pairs component package)
    install(FILES packaging/debian/copyright ${PROJECT_BINARY_DIR}/debian/changelog.Debian.gz
            DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} COMPONENT ${component})
  endwhile()
endif()

set(CPACK_PACKAGE_NAME qorsupport)
# Each package's description below starts with its own synopsis line; CPack
# would put the project's summary in front of it unless the summary is its
# default.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${CMAKE_PROJECT_NAME} built using CMake")
set(CPACK_PACKAGE_VENDOR "qorSupport developers")
set(CPACK_PACKAGE_CONTACT "qorSupport developers <qorsupport@example.org>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL runtime dev tool doc)
if(TARGET qorsupport_python)
  list(APPEND CPACK_COMPONENTS_ALL python)
endif()
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_STRIP_FILES ON)
# The package's own libraries satisfy the program's and each other's needs.
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  ${PROJECT_BINARY_DIR}/src ${PROJECT_BINARY_DIR}/src/ui/qt)
set(QOR_DEB_SELF "(= ${PROJECT_VERSION}-1)")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libqorsupport0)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
# libcups is loaded on the first printer call (src/shell/cups_client.cc), not
# linked, so the shlibs scan does not see it.
set(CPACK_DEBIAN_RUNTIME_PACKAGE_DEPENDS "libcups2")
# A shlibs file for the libraries, and ldconfig run by trigger.
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/packaging/debian/triggers)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
  "support library for desktop business applications\nThe shared libraries of qorSupport: database schema work over its own\nDAO-style engine (SQLite files, ODBC servers, legacy Jet files), the\nregistry and INI files, processes, documents, printers, message boxes and\nsmall dialogs, and the Qt 6 Widgets backend of the dialogs.")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libqorsupport-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "libqorsupport0 ${QOR_DEB_SELF}")
set(CPACK_COMPONENT_DEV_DESCRIPTION
  "support library for desktop business applications - development files\nThe public headers of qorSupport (<qorsupport/...>), the links to its shared\nlibraries, a CMake package (find_package(qorSupport CONFIG)) and pkg-config\nfiles (qorsupport, qorsupport-qt).")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME qor)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "libqorsupport0 ${QOR_DEB_SELF}")
set(CPACK_COMPONENT_TOOL_DESCRIPTION
  "command-line program of the qorSupport library\nqor reaches qorSupport from the shell: its dialogs, the registry and INI\nfiles, processes, documents and printers, database schema work, cloning and\nmigration of legacy Jet files, and late-bound automation as JSON lines.")

set(CPACK_DEBIAN_DOC_PACKAGE_NAME libqorsupport-doc)
set(CPACK_DEBIAN_DOC_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOC_PACKAGE_ARCHITECTURE all)
set(CPACK_COMPONENT_DOC_DESCRIPTION
  "support library for desktop business applications - API reference\nThe API reference of qorSupport in HTML, made with Doxygen from the contract\ncomments of its public headers.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-qorsupport)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
if(QOR_PYTHON_VERSION)
  string(REGEX REPLACE "^([0-9]+)\\.([0-9]+)$" "\\2" python_minor "${QOR_PYTHON_VERSION}")
  math(EXPR python_next "${python_minor} + 1")
  string(REGEX REPLACE "[0-9]+$" "${python_next}" python_next "${QOR_PYTHON_VERSION}")
  set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS
    "libqorsupport0 ${QOR_DEB_SELF}, python3 (>= ${QOR_PYTHON_VERSION}), python3 (<< ${python_next})")
endif()
set(CPACK_COMPONENT_PYTHON_DESCRIPTION
  "support library for desktop business applications - Python module\nThe Python 3 module qorsupport: the classes of qorSupport through its\nlate-bound dispatch, with values, by-reference arguments, errors and\nscripted dialogs, and type stubs for the classes.")

include(CPack)
