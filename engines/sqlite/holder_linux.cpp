#include <pwd.h>
#include <unistd.h>

#include <cstddef>
#include <filesystem>
#include <system_error>
#include <vector>

#include "engines/sqlite/holder.h"

namespace tarnwick::sqlite {
namespace {

std::string user_name() {
  constexpr std::size_t kRoom = 16'384;  // of an entry of the user database, however it is kept
  std::vector<char> room(kRoom);
  passwd entry{};
  passwd* found = nullptr;
  const uid_t user = geteuid();
  getpwuid_r(user, &entry, room.data(), room.size(), &found);
  return found != nullptr ? found->pw_name : std::to_string(user);
}

}  // namespace

Holder present_process() {
  std::error_code unknown;
  return {std::filesystem::read_symlink("/proc/self/exe", unknown).filename().string(),
          user_name()};
}

}  // namespace tarnwick::sqlite
