include(GoogleTest)
if(WIN32 AND NOT TARGET gtest)
  # Debian's package carries the sources; there is no library of it for Windows.
  set(BUILD_GMOCK ON)
  set(INSTALL_GTEST OFF)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
  foreach(library gtest gtest_main gmock)
    target_compile_options(${library} PRIVATE -w)
    if(NOT TARGET GTest::${library})
      add_library(GTest::${library} ALIAS ${library})
    endif()
  endforeach()
elseif(NOT WIN32)
  find_package(GTest REQUIRED)
endif()

# tarnwick_left_out(WHAT REASON)
# Notes tests that are not built here; the Windows test run shows the list.
function(tarnwick_left_out what reason)
  set_property(GLOBAL APPEND_STRING PROPERTY TARNWICK_LEFT_OUT "  ${what}: ${reason}\n")
endfunction()

# tarnwick_test(NAME SOURCES file... [USES target...]
#               [LINUX_SOURCES file... WINDOWS_SOURCES file... LINUX_BECAUSE reason]
#               [PROPERTIES name value...])
# One test program per room, named NAME_test; every test in it is a test of its own to ctest, but on
# Windows, where starting a program takes longer than running all tests in it.
function(tarnwick_test name)
  cmake_parse_arguments(TEST "" "LINUX_BECAUSE"
                        "SOURCES;USES;LINUX_SOURCES;WINDOWS_SOURCES;PROPERTIES" ${ARGN})
  add_executable(${name}_test ${TEST_SOURCES})
  if(WIN32)
    target_sources(${name}_test PRIVATE ${TEST_WINDOWS_SOURCES})
    foreach(file ${TEST_LINUX_SOURCES})
      cmake_path(RELATIVE_PATH CMAKE_CURRENT_SOURCE_DIR BASE_DIRECTORY ${PROJECT_SOURCE_DIR}
                 OUTPUT_VARIABLE folder)
      tarnwick_left_out(${folder}/${file} "${TEST_LINUX_BECAUSE}")
    endforeach()
  else()
    target_sources(${name}_test PRIVATE ${TEST_LINUX_SOURCES})
  endif()
  target_include_directories(${name}_test PRIVATE ${PROJECT_SOURCE_DIR})
  target_link_libraries(${name}_test PRIVATE ${TEST_USES} tarnwick_test_printing
                        GTest::gtest_main GTest::gmock)
  if(WIN32)
    add_test(NAME ${name} COMMAND ${name}_test)
  else()
    if(TEST_PROPERTIES)
      list(PREPEND TEST_PROPERTIES PROPERTIES)
    endif()
    gtest_discover_tests(${name}_test DISCOVERY_MODE PRE_TEST TEST_PREFIX ${name}/ ${TEST_PROPERTIES})
  endif()
endfunction()

# tarnwick_sql_server_test(NAME ...)
# As tarnwick_test: tests on the SQL Server that TARNWICK_TEST_SQLSERVER names. NAME_on_stand_in runs
# them once more through the real FreeTDS, on a stand-in for the server.
function(tarnwick_sql_server_test name)
  tarnwick_test(${name} ${ARGN})
  target_compile_definitions(${name}_test
    PRIVATE SQLSERVER_SCHEMA="${PROJECT_SOURCE_DIR}/schema/sqlserver.sql")
  add_test(NAME ${name}_on_stand_in
    COMMAND python3 ${PROJECT_SOURCE_DIR}/tests/stand_in/server.py --serve
            ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:${name}_test>)
  # The stand-in is a server to test on: a test that is skipped there has been lost.
  set_tests_properties(${name}_on_stand_in PROPERTIES FAIL_REGULAR_EXPRESSION "  SKIPPED ")
  if(WIN32)
    set_tests_properties(${name} PROPERTIES SKIP_REGULAR_EXPRESSION "TARNWICK_TEST_SQLSERVER is not set")
  endif()
endfunction()
