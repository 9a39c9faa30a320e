# tarnwick_debian_headers(TARGET FOLDER)
# A library that is all headers, out of Debian's package for the building machine: its folder below
# /usr/include, and nothing else of what is there.
function(tarnwick_debian_headers target folder)
  if(TARGET ${target})
    return()
  endif()
  set(headers ${CMAKE_BINARY_DIR}/headers/${folder})
  file(MAKE_DIRECTORY ${headers})
  file(CREATE_LINK /usr/include/${folder} ${headers}/${folder} SYMBOLIC)
  add_library(${target} INTERFACE IMPORTED GLOBAL)
  target_include_directories(${target} SYSTEM INTERFACE ${headers})
endfunction()
