# All that these tests start and read: the programs, and the descriptions of the interfaces.
if(NOT TARGET bus_test_programs)
  add_custom_target(bus_test_programs)
  add_dependencies(bus_test_programs dbus_interfaces library make_database manual record_login
                   serve_stand_in tarnwick tarnwick-desktop tarnwick-server)
endif()

# tarnwick_bus_test(NAME FILE)
# A file of tests in Python: clients of a real bus that share no code with the service. Run by
# Debian's own Python, which has the bindings of GLib and of libdbus.
function(tarnwick_bus_test name file)
  add_test(NAME ${name} COMMAND /usr/bin/python3 -B ${CMAKE_CURRENT_SOURCE_DIR}/${file})
  # They take longest, and begin first.
  set_tests_properties(${name} PROPERTIES COST 10 ENVIRONMENT
    "PYTHONPATH=${PROJECT_SOURCE_DIR}/tests/automation/dbus:${PROJECT_SOURCE_DIR}/tests/apps/tarnwick/completion;TARNWICK_CMAKE=${CMAKE_COMMAND};TARNWICK_BUILD=${PROJECT_BINARY_DIR};TARNWICK_SERVER=$<TARGET_FILE:tarnwick-server>;TARNWICK_SAMPLE_CLIENTS=${PROJECT_SOURCE_DIR}/samples/clients;TARNWICK_SAMPLE_PROGRAM=$<TARGET_FILE:record_login>;TARNWICK_DESKTOP=$<TARGET_FILE:tarnwick-desktop>;TARNWICK_MAKE_DATABASE=$<TARGET_FILE:make_database>;TARNWICK_INTERFACES=${PROJECT_BINARY_DIR}/automation/dbus/interfaces;LSAN_OPTIONS=suppressions=${PROJECT_SOURCE_DIR}/tests/support/leaks_of_libraries.supp:print_suppressions=0")
endfunction()
