#include "apps/tarnwick/database/samples.h"

#include "apps/tarnwick/failure.h"

namespace tarnwick::cli {

std::filesystem::path samples_folder() {
  const auto program = std::filesystem::read_symlink("/proc/self/exe").parent_path();
  for (const auto& folder : {program.parent_path() / "share/tarnwick/samples",
                             program / "samples",  // where Windows keeps a program's files
                             std::filesystem::path(TARNWICK_SAMPLES)}) {
    if (std::filesystem::is_directory(folder)) return folder;
  }
  throw Failure(ExitCode::kFailed, "The sample data are not there; say where they are by --from.");
}

}  // namespace tarnwick::cli
