#include "apps/tarnwick/service/scratch_folder.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <mutex>
#include <set>
#include <system_error>
#include <utility>

namespace tarnwick::cli {
namespace {

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

ScratchFolder::ScratchFolder() {
  make((std::filesystem::temp_directory_path() / "tarnwick-XXXXXX").string());
}

ScratchFolder::ScratchFolder(const std::filesystem::path& parent) {
  make((parent / ".tarnwick-XXXXXX").string());
}

void ScratchFolder::make(std::string name) {
  const std::lock_guard lock(registry().mutex);
  if (mkdtemp(name.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(),
                            "cannot make a folder for temporary files");
  }
  path_ = std::move(name);
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
  for (const auto& folder : registry().folders) {
    // Other threads, and the programs that this one has started, may put something into it
    // meanwhile.
    std::error_code error;
    do {
      std::filesystem::remove_all(folder, error);
    } while (error == std::errc::directory_not_empty);
  }
}

}  // namespace tarnwick::cli
