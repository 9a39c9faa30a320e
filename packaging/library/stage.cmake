# cmake -DHEADERS=file;... -DSOURCE=folder -DSTAGE=folder -P stage.cmake
# Puts the headers below STAGE/tarnwick, and the first page of the reference into STAGE.

# Inside the tree headers include one another from its root. A program that uses the library may have
# folders of such names itself, so that outside all of them are found below tarnwick/ alone.
file(REMOVE_RECURSE ${STAGE})
foreach(header ${HEADERS})
  file(READ ${SOURCE}/${header} text)
  string(REGEX REPLACE "\n#include \"([^\"\n]+)\"" "\n#include <tarnwick/\\1>" text "${text}")
  file(WRITE ${STAGE}/tarnwick/${header} "${text}")
endforeach()

# The pages that it links are not installed beside the reference.
file(READ ${SOURCE}/docs/library.md text)
string(REGEX REPLACE "\\[([^]\n]+)\\]\\([^)\n]+\\)" "\\1" text "${text}")
file(WRITE ${STAGE}/library.md "${text}")
file(TOUCH ${STAGE}/staged)
