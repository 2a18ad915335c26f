# qor_add_layer(NAME SOURCES src... [BELOW layer...] [LINK lib...])
#
# Adds one layer of the library: an object library of the given sources that
# sees the public headers and the internal headers, links the layers it
# names in BELOW (which must stand lower in the order of the README's
# layout section; the check_layers step refuses an include that runs
# upward) and the third-party libraries in LINK, privately. Its objects go
# into the shared qorsupport.
function(qor_add_layer name)
  cmake_parse_arguments(ARG "" "" "SOURCES;BELOW;LINK" ${ARGN})
  add_library(${name} OBJECT ${ARG_SOURCES})
  target_include_directories(${name} PUBLIC
    ${PROJECT_SOURCE_DIR}/include ${PROJECT_BINARY_DIR}/include ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${name} PUBLIC Threads::Threads ${ARG_BELOW})
  if(ARG_LINK)
    target_link_libraries(${name} PRIVATE ${ARG_LINK})
  endif()
  target_link_libraries(qorsupport PRIVATE ${name})
endfunction()

# qor_add_test(NAME SOURCES...)
#
# Adds a GoogleTest executable linked against the library and registers each
# of its tests with CTest. Tests find the qor program through QOR_BIN, the
# one variable set here (gtest_discover_tests splits a list of variables
# apart); the test data is found by testing::SharedDir().
function(qor_add_test name)
  if(NOT QOR_BUILD_TESTS)
    return()
  endif()
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE qorsupport qor_internal qor_testing GTest::gtest
                                        GTest::gtest_main Threads::Threads)
  gtest_discover_tests(${name}
    DISCOVERY_TIMEOUT 60
    PROPERTIES ENVIRONMENT "QOR_BIN=$<TARGET_FILE:qor>")
endfunction()
