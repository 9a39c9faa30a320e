#include "apps/tarnwick/scratch_folder.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

namespace tarnwick::cli {

ScratchFolder::ScratchFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "tarnwick-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    throw std::system_error(errno, std::generic_category(),
                            "cannot make a folder for temporary files");
  }
  path_ = name;
}

ScratchFolder::~ScratchFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

}  // namespace tarnwick::cli
