# qor_add_test(NAME SOURCES...)
#
# Adds a GoogleTest executable linked against the library and registers each
# of its tests with CTest. Tests find the shared test data through the
# QOR_SHARED_DIR environment variable and the qor program through QOR_BIN.
function(qor_add_test name)
  if(NOT QOR_BUILD_TESTS)
    return()
  endif()
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE qorsupport qor_testing GTest::gtest GTest::gtest_main
                                        Threads::Threads)
  gtest_discover_tests(${name}
    DISCOVERY_TIMEOUT 60
    PROPERTIES ENVIRONMENT
      "QOR_BIN=$<TARGET_FILE:qor>;QOR_SHARED_DIR=${PROJECT_SOURCE_DIR}/../shared;QOR_UI=headless")
endfunction()
