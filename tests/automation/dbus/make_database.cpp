#include <cstdio>
#include <cstdlib>
#include <exception>

#include "engines/sqlite/create_database.h"

/// Makes the embedded database Velmar_Sec in a folder, for tests that are no C++:
/// make_database FOLDER ROLE PASSWORD
int main(int argc, char** argv) {
  if (argc != 4) return EXIT_FAILURE;
  try {
    tarnwick::sqlite::create_database(argv[1], u"Velmar_Sec", tarnwick::from_utf8(argv[2]),
                                      tarnwick::from_utf8(argv[3]));
    return EXIT_SUCCESS;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return EXIT_FAILURE;
  }
}
