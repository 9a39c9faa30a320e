#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>

#include "automation/com/idl/interface_description.h"

/// Writes the interface description into the file that is given.
int main(int argc, char** argv) {
  if (argc != 2) return EXIT_FAILURE;
  try {
    std::ofstream stream(argv[1], std::ios::binary);
    stream << tarnwick::automation::com::interface_description();
    stream.close();
    if (!stream) throw std::runtime_error(std::string("cannot write ") + argv[1]);
    return EXIT_SUCCESS;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return EXIT_FAILURE;
  }
}
