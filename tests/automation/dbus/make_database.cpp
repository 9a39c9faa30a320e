#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>

#include "engines/sqlite/create_database.h"
#include "tests/support/embedded_database.h"

/// Makes the embedded database Velmar_Sec in a folder, for tests that are no C++:
/// make_database FOLDER ROLE PASSWORD
int main(int argc, char** argv) {
  if (argc != 4) return EXIT_FAILURE;
  try {
    const std::filesystem::path folder(argv[1]);
    const tarnwick::Text role = tarnwick::from_utf8(argv[2]);
    const tarnwick::Text password = tarnwick::from_utf8(argv[3]);
    tarnwick::sqlite::create_database(folder, u"Velmar_Sec", role, password);
    tarnwick::test_support::lighten_role(folder / "Velmar_Sec.db", role, password);
    return EXIT_SUCCESS;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return EXIT_FAILURE;
  }
}
