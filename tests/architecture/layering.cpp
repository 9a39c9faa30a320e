#include "tests/architecture/layering.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <regex>
#include <set>
#include <stdexcept>
#include <string_view>

namespace tarnwick::architecture {
namespace {

struct Room {
  std::string_view name;
  std::string_view folder;
  int height;  // a room may include lower ones; rooms of equal height do not know each other
};

// A file belongs to the first room whose folder (or file name without extension) begins its path.
constexpr std::array kRooms{
    Room{"runtime", "runtime/", 0},
    Room{"platform", "platform/", 1},
    Room{"ado", "ado/", 2},
    Room{"engines/sqlite", "engines/sqlite/", 3},
    Room{"engines/odbc", "engines/odbc/", 3},
    Room{"state", "state/", 4},
    Room{"records", "records/", 5},
    Room{"components", "components/", 6},
    Room{"pcs", "pcs/", 6},
    Room{"reports", "reports/", 6},
    Room{"server", "server/", 7},
    Room{"automation/com", "automation/com/", 9},
    Room{"automation/dbus", "automation/dbus/", 9},
    Room{"automation", "automation/", 8},
    Room{"client", "client/", 10},
    Room{"apps", "apps/", 11},
};

// Headers of libraries that one room hides from all others.
struct Library {
  std::string_view header;  // as the include line begins
  std::string_view room;
};
constexpr std::array kLibraries{
    Library{"sqlite3", "engines/sqlite"},  Library{"sql.h", "engines/odbc"},
    Library{"sqlext.h", "engines/odbc"},   Library{"sqltypes.h", "engines/odbc"},
    Library{"sqlucode.h", "engines/odbc"}, Library{"odbcinst", "engines/odbc"},
    Library{"unicode/", "runtime"},
};

const Room* room_of(std::string_view path) {
  const auto room = std::ranges::find_if(
      kRooms, [&](const Room& candidate) { return path.starts_with(candidate.folder); });
  return room == kRooms.end() ? nullptr : &*room;
}

bool may_include(const Room& source, const Room& target) {
  return source.name == target.name || target.height < source.height ||
         (source.name == "components" && target.name == "pcs");
}

/// Why the room may not have this include line, or an empty text.
std::string objection(const Room& room, const std::string& header, bool quoted) {
  const auto library = std::ranges::find_if(
      kLibraries, [&](const Library& candidate) { return header.starts_with(candidate.header); });
  if (library != kLibraries.end() && library->room != room.name) {
    return std::string(room.name) + " may not include " + header + ", which is for " +
           std::string(library->room);
  }
  const Room* target = room_of(header);
  if (target != nullptr && !may_include(room, *target)) {
    return std::string(room.name) + " may not include " + header;
  }
  if (target == nullptr && quoted) return header + " is in no room";
  return {};
}

void check_file(const std::filesystem::path& root, const std::filesystem::path& file,
                std::vector<std::string>& violations) {
  static const std::regex include_line(R"re(^\s*#\s*include\s*([<"])([^>"]+)[>"].*)re");
  const std::string path = file.lexically_relative(root).generic_string();
  const Room* room = room_of(path);
  if (room == nullptr) {
    violations.push_back(path + ": is in no room");
    return;
  }
  std::ifstream stream(file);
  if (!stream) throw std::runtime_error("cannot read " + path);
  std::string line;
  for (std::size_t number = 1; std::getline(stream, line); ++number) {
    std::smatch match;
    if (!std::regex_match(line, match, include_line)) continue;
    const std::string reason = objection(*room, match[2], match[1] == "\"");
    if (!reason.empty()) violations.push_back(path + ":" + std::to_string(number) + ": " + reason);
  }
}

}  // namespace

Layering check_layering(const std::filesystem::path& root) {
  static const std::set<std::filesystem::path> extensions{".h", ".hpp", ".inc",
                                                          ".c", ".cc",  ".cpp"};
  static const std::set<std::string> folders = [] {
    std::set<std::string> first;
    for (const Room& room : kRooms) {
      first.emplace(room.folder.substr(0, room.folder.find('/')));
    }
    return first;
  }();
  Layering layering;
  for (const std::string& folder : folders) {
    if (!std::filesystem::is_directory(root / folder)) continue;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root / folder)) {
      if (!entry.is_regular_file() || !extensions.contains(entry.path().extension())) continue;
      ++layering.files_read;
      check_file(root, entry.path(), layering.violations);
    }
  }
  std::ranges::sort(layering.violations);
  return layering;
}

}  // namespace tarnwick::architecture
