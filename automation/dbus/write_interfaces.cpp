#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "automation/dbus/interface.h"

namespace {

namespace automation = tarnwick::automation;
namespace dbus = tarnwick::automation::dbus;

void write(const std::filesystem::path& folder, const dbus::Interface& interface) {
  const std::filesystem::path file = folder / (interface.name + ".xml");
  std::ofstream stream(file, std::ios::binary);
  stream << dbus::to_xml(interface);
  stream.close();
  if (!stream) throw std::runtime_error("cannot write " + file.string());
}

}  // namespace

/// Writes one file per interface into the folder that is given: what code generators read.
int main(int argc, char** argv) {
  if (argc != 2) return EXIT_FAILURE;
  try {
    const std::filesystem::path folder(argv[1]);
    std::filesystem::create_directories(folder);
    for (const automation::Class& of : automation::classes()) {
      write(folder, dbus::class_interface(of));
    }
    write(folder, dbus::automation_interface());
    write(folder, dbus::rows_interface());
    write(folder, dbus::record_interface());
    write(folder, dbus::last_cause_interface());
    write(folder, dbus::lock_prompt_interface());
    return EXIT_SUCCESS;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "%s\n", failure.what());
    return EXIT_FAILURE;
  }
}
