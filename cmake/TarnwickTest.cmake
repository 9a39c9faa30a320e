find_package(GTest REQUIRED)
include(GoogleTest)

# tarnwick_test(NAME SOURCES file... [USES target...])
# One test program per room, named NAME_test; every test in it is a test of its own to ctest.
function(tarnwick_test name)
  cmake_parse_arguments(TEST "" "" "SOURCES;USES" ${ARGN})
  add_executable(${name}_test ${TEST_SOURCES})
  target_include_directories(${name}_test PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name}_test PRIVATE ${TEST_USES} GTest::gtest_main GTest::gmock)
  gtest_discover_tests(${name}_test DISCOVERY_MODE PRE_TEST TEST_PREFIX ${name}/)
endfunction()
