#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "engines/sqlite/private_file.h"

namespace tarnwick::sqlite {

void make_private_file(const std::filesystem::path& file) {
  const int opened = ::open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (opened < 0) {
    throw std::filesystem::filesystem_error("open", file,
                                            std::error_code(errno, std::generic_category()));
  }
  ::close(opened);
}

}  // namespace tarnwick::sqlite
