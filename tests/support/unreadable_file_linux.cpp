#include "tests/support/unreadable_file.h"

namespace tarnwick::test_support {

struct UnreadableFile::System {};

UnreadableFile::UnreadableFile() = default;
UnreadableFile::~UnreadableFile() = default;

// The memory of this process: at address 0 there is none.
std::filesystem::path UnreadableFile::path() const { return "/proc/self/mem"; }
Text UnreadableFile::path_text() const { return u"/proc/self/mem"; }

std::int32_t UnreadableFile::number() const { return 3003; }

Text UnreadableFile::description() const {
  return u"File could not be read. '/proc/self/mem': Input/output error.";
}

}  // namespace tarnwick::test_support
