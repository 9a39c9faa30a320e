#include "apps/tarnwick/service/scratch_folder.h"

#include <chrono>
#include <mutex>
#include <set>
#include <system_error>

#include "platform/process.h"

namespace tarnwick::cli {
namespace {

// How long a file may be in use that is to go.
constexpr std::chrono::seconds kPatience{3};

// A signal is the whole process's; what it has to remove is known here. Never destroyed: the thread
// that waits for signals lives as long as the process.
struct Registry {
  std::mutex mutex;
  std::set<std::filesystem::path> folders;
};
Registry& registry() {
  static auto* const all = new Registry;
  return *all;
}

}  // namespace

ScratchFolder::ScratchFolder() { make(std::filesystem::temp_directory_path() / "tarnwick-"); }

ScratchFolder::ScratchFolder(const std::filesystem::path& parent) { make(parent / ".tarnwick-"); }

void ScratchFolder::make(const std::filesystem::path& beginning) {
  const std::lock_guard lock(registry().mutex);
  path_ = platform::make_unique_folder(beginning);
  registry().folders.insert(path_);
}

ScratchFolder::~ScratchFolder() {
  const std::lock_guard lock(registry().mutex);
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
  registry().folders.erase(path_);
}

void ScratchFolder::remove_all_for_good() {
  registry().mutex.lock();
  const auto deadline = std::chrono::steady_clock::now() + kPatience;
  for (const auto& folder : registry().folders) {
    // Other threads, and the programs that this one has started, may put something into it
    // meanwhile.
    std::error_code error;
    do {
      std::filesystem::remove_all(folder, error);
    } while (error == std::errc::directory_not_empty ||
             (platform::is_in_use(error) && std::chrono::steady_clock::now() < deadline));
  }
}

}  // namespace tarnwick::cli
