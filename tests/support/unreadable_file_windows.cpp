#include <windows.h>

#include <stdexcept>

#include "platform/windows/wide.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/unreadable_file.h"

namespace tarnwick::test_support {

// A file that is open and shared with nobody.
struct UnreadableFile::System {
  TemporaryFolder folder;
  std::filesystem::path path = folder.write("unreadable", "content");
  HANDLE open = CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING,
                            FILE_ATTRIBUTE_NORMAL, nullptr);
};

UnreadableFile::UnreadableFile() : system_(std::make_unique<System>()) {
  if (system_->open == INVALID_HANDLE_VALUE) throw std::runtime_error("CreateFileW");
}

UnreadableFile::~UnreadableFile() { CloseHandle(system_->open); }

std::filesystem::path UnreadableFile::path() const { return system_->path; }
Text UnreadableFile::path_text() const { return platform::from_wide(system_->path.native()); }

std::int32_t UnreadableFile::number() const { return 3002; }

Text UnreadableFile::description() const {
  return join({u"File could not be opened. '", path_text(), u"': Permission denied."});
}

}  // namespace tarnwick::test_support
