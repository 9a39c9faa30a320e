# tarnwick_room(NAME SOURCES file... [USES target...] [PRIVATE_USES target...])
# One static library per room, named tarnwick_NAME; headers are included from the repository root.
function(tarnwick_room name)
  cmake_parse_arguments(ROOM "" "" "SOURCES;USES;PRIVATE_USES" ${ARGN})
  add_library(tarnwick_${name} STATIC ${ROOM_SOURCES})
  target_include_directories(tarnwick_${name} PUBLIC ${PROJECT_SOURCE_DIR})
  target_link_libraries(tarnwick_${name} PUBLIC ${ROOM_USES} PRIVATE ${ROOM_PRIVATE_USES})
endfunction()
