#include "engines/sqlite/database_file.h"

#include <system_error>

#include "ado/error.h"

namespace tarnwick::sqlite {
namespace {

constexpr std::int32_t kNativeUnknownDatabase = 911;

}  // namespace

std::filesystem::path database_file(const std::filesystem::path& folder, TextView name) {
  constexpr char16_t kForbidden[] = u"/\\:*?\"<>|";
  const bool plain = !name.empty() && name.front() != u'.' && name.find(u'\0') == TextView::npos &&
                     name.find_first_of(kForbidden) == TextView::npos;
  try {
    if (plain) return folder / std::filesystem::path(join({name, u".db"}));
  } catch (const std::exception&) {
    // An unpaired surrogate has no place in a file name: as any other bad name.
  }
  throw ado::AdoError(ado::AdoErrorNumber::kInvalidArgument,
                      join({u"'", name, u"' cannot be the name of a database."}));
}

void require_database_file(const std::filesystem::path& file) {
  std::error_code error;
  if (std::filesystem::is_regular_file(file, error)) return;
  throw ado::AdoError(ado::AdoErrorNumber::kUnspecified,
                      join({u"The database file ", file_text(file), u" does not exist."}),
                      kNativeUnknownDatabase);
}

std::filesystem::path lock_file(const std::filesystem::path& database) {
  std::filesystem::path file = database;
  return file += "-locks";
}

Text file_text(const std::filesystem::path& file) {
  const auto utf8 = file.u8string();
  return join(
      {u"'", from_stored_utf8({reinterpret_cast<const char*>(utf8.data()), utf8.size()}), u"'"});
}

}  // namespace tarnwick::sqlite
