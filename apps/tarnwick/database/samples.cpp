#include "apps/tarnwick/database/samples.h"

#include <vector>

#include "apps/tarnwick/failure.h"
#include "platform/process.h"

namespace tarnwick::cli {

std::filesystem::path samples_folder() {
  const auto program = platform::executable_file().parent_path();
  std::vector<std::filesystem::path> folders{
      program.parent_path() / "share/tarnwick/samples",
      program / "samples"};  // where Windows keeps a program's files
#ifdef TARNWICK_SAMPLES
  folders.emplace_back(TARNWICK_SAMPLES);
#endif
  for (const std::filesystem::path& folder : folders) {
    if (std::filesystem::is_directory(folder)) return folder;
  }
  throw Failure(ExitCode::kFailed, "The sample data are not there; say where they are by --from.");
}

}  // namespace tarnwick::cli
