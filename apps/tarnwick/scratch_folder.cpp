#include "apps/tarnwick/scratch_folder.h"

#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>
#include <system_error>
#include <utility>

namespace tarnwick::cli {
namespace {

// For the signal handler, which nothing else can be handed to.
struct Doomed {
  std::vector<std::string> files;
  std::string folder;
};
std::atomic<const Doomed*> doomed;

// Calls only what a handler may call. It is a handler for one time: the second signal ends the
// process.
void remove_doomed(int signal_number) {
  if (const Doomed* const all = doomed.exchange(nullptr)) {
    for (const std::string& file : all->files) unlink(file.c_str());
    rmdir(all->folder.c_str());
  }
  raise(signal_number);
}

void handle(int signal_number) {
  struct sigaction before = {};
  sigaction(signal_number, nullptr, &before);
  if (before.sa_handler == SIG_IGN) return;
  struct sigaction action = {};
  action.sa_handler = &remove_doomed;
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  sigaction(signal_number, &action, nullptr);
}

}  // namespace

ScratchFolder::ScratchFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "tarnwick-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(),
                            "cannot make a folder for temporary files");
  }
  path_ = name;
}

ScratchFolder::ScratchFolder(std::vector<std::string> files) : ScratchFolder() {
  auto* all = new Doomed{std::move(files), path_.string()};
  for (std::string& file : all->files) file = (path_ / file).string();
  doomed = all;
  goes_by_signal_ = true;
  for (const int number : {SIGHUP, SIGINT, SIGTERM}) handle(number);
}

ScratchFolder::~ScratchFolder() {
  if (goes_by_signal_) delete doomed.exchange(nullptr);
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace tarnwick::cli
