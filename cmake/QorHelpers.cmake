# qor_add_test(NAME SOURCES...)
#
# Adds a GoogleTest executable linked against the library and registers each
# of its tests with CTest. Tests find the qor program through QOR_BIN, the
# one variable set here (gtest_discover_tests splits a list of variables
# apart); the shared test data is found by testing::SharedDir().
function(qor_add_test name)
  if(NOT QOR_BUILD_TESTS)
    return()
  endif()
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE qorsupport qor_testing GTest::gtest GTest::gtest_main
                                        Threads::Threads)
  gtest_discover_tests(${name}
    DISCOVERY_TIMEOUT 60
    PROPERTIES ENVIRONMENT "QOR_BIN=$<TARGET_FILE:qor>")
endfunction()
