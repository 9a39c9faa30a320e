#include "apps/tarnwick/database/samples.h"

#include <vector>

#include "apps/tarnwick/failure.h"

namespace tarnwick::cli {

std::filesystem::path samples_folder() {
  const auto program = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  std::vector<std::filesystem::path> folders{program.parent_path() / "share/tarnwick/samples"};
#ifdef TARNWICK_SAMPLES
  folders.emplace_back(TARNWICK_SAMPLES);
#endif
  for (const std::filesystem::path& folder : folders) {
    if (std::filesystem::is_directory(folder)) return folder;
  }
  throw Failure(ExitCode::kFailed, "The sample data are not there; say where they are by --from.");
}

}  // namespace tarnwick::cli
