#include "apps/common/desktop_program.h"

namespace tarnwick::apps {

std::filesystem::path desktop_program() {
  const auto folder = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  // Beside this program; in a build beside the service; where it is installed.
  for (const char* place :
       {"tarnwick-desktop", "../tarnwick-server/tarnwick-desktop", TARNWICK_DESKTOP}) {
    std::filesystem::path program = (folder / place).lexically_normal();
    if (std::filesystem::exists(program)) return program;
  }
  return {};
}

}  // namespace tarnwick::apps
