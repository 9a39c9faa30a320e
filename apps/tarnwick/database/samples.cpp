#include "apps/tarnwick/database/samples.h"

#include "apps/tarnwick/failure.h"
#include "platform/process.h"

namespace tarnwick::cli {

std::filesystem::path samples_folder() {
  const auto program = platform::executable_file().parent_path();
  for (const auto& folder : {program.parent_path() / "share/tarnwick/samples",
                             std::filesystem::path(TARNWICK_SAMPLES)}) {
    if (std::filesystem::is_directory(folder)) return folder;
  }
  throw Failure(ExitCode::kFailed, "The sample data are not there; say where they are by --from.");
}

}  // namespace tarnwick::cli
