# tarnwick_windows_program(TARGET DESCRIPTION)
# What every program for Windows that is released has: a version resource, from the one number of the
# project, and the protections that the tool chain offers. Call it once the target's name is settled.
function(tarnwick_windows_program target description)
  get_target_property(name ${target} OUTPUT_NAME)
  if(NOT name)
    set(name ${target})
  endif()
  get_target_property(suffix ${target} SUFFIX)
  if(NOT suffix)
    set(suffix ${CMAKE_EXECUTABLE_SUFFIX})
  endif()
  set(TARNWICK_FILE_NAME ${name}${suffix})
  set(TARNWICK_FILE_DESCRIPTION "${description}")
  configure_file(${PROJECT_SOURCE_DIR}/cmake/windows/version.rc.in
                 ${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc @ONLY)
  target_sources(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/${target}_version.rc)
  # Some linkers do this unasked, and none that may be asked refuses. A file without a time in it is the
  # same whenever it is linked.
  target_link_options(${target} PRIVATE
    -Wl,--dynamicbase,--high-entropy-va,--nxcompat,--no-insert-timestamp)
endfunction()
