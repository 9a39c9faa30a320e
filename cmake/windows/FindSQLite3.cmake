# Windows brings no SQLite: it is compiled in, from TARNWICK_SQLITE_SOURCE.
set(TARNWICK_SQLITE_SOURCE "" CACHE PATH "Folder of sqlite3.c and sqlite3.h")
if(NOT TARGET SQLite::SQLite3)
  add_library(tarnwick_sqlite3 STATIC ${TARNWICK_SQLITE_SOURCE}/sqlite3.c)
  # In every build: nobody debugs it, and the tests run at its speed.
  target_compile_options(tarnwick_sqlite3 PRIVATE -w -O2)
  # What the engine calls and Debian's library has; the rest is as SQLite's makers left it.
  target_compile_definitions(tarnwick_sqlite3 PRIVATE SQLITE_ENABLE_COLUMN_METADATA
                             SQLITE_ENABLE_PREUPDATE_HOOK SQLITE_OMIT_LOAD_EXTENSION)
  target_include_directories(tarnwick_sqlite3 SYSTEM INTERFACE ${TARNWICK_SQLITE_SOURCE})
  add_library(SQLite::SQLite3 ALIAS tarnwick_sqlite3)
endif()
set(SQLite3_FOUND TRUE)
