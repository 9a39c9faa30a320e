#include <windows.h>

#include <system_error>

#include "engines/sqlite/private_file.h"

namespace tarnwick::sqlite {

// On Windows who may read a file is said by its folder, and inherited.
void make_private_file(const std::filesystem::path& file) {
  const HANDLE opened = CreateFileW(file.c_str(), GENERIC_READ | GENERIC_WRITE, 0, nullptr,
                                    CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (opened == INVALID_HANDLE_VALUE) {
    const auto code = static_cast<int>(GetLastError());
    throw std::filesystem::filesystem_error("open", file,
                                            std::error_code(code, std::system_category()));
  }
  CloseHandle(opened);
}

}  // namespace tarnwick::sqlite
