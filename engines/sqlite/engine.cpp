#include "engines/sqlite/engine.h"

#include "engines/sqlite/database_file.h"
#include "engines/sqlite/session.h"
#include "runtime/case_mapping.h"

namespace tarnwick::sqlite {
namespace {

constexpr TextView kProviders[] = {u"Tarnwick.Embedded"};
constexpr TextView kFolderItem = u"Data Source";

[[noreturn]] void refuse(Text description) {
  throw ado::AdoError(ado::AdoErrorNumber::kInvalidArgument, std::move(description));
}

}  // namespace

std::filesystem::path SqliteEngine::folder_of(const ado::ConnectionString& string) {
  for (const auto& item : string.items()) {
    if (ado::ConnectionString::is_for_ole_db(item.name)) continue;
    if (!is_one_of(item.name, {u"Provider", kFolderItem})) {
      refuse(join(
          {u"The connection string item '", item.name, u"' is not known to the embedded engine."}));
    }
  }
  const auto source = string.find(kFolderItem);
  if (!source || source->empty()) {
    refuse(u"The connection string names no folder: the item 'Data Source' is missing.");
  }
  std::filesystem::path folder;
  try {
    if (source->find(u'\0') == Text::npos) folder = std::filesystem::path(*source);
  } catch (const std::exception&) {
    // An unpaired surrogate has no place in a file name, as a NUL has none.
  }
  if (folder.empty()) {
    refuse(u"The folder of the connection string holds a NUL character or an unpaired surrogate.");
  }
  if (!folder.is_absolute()) {
    refuse(join({u"The folder '", *source,
                 u"' of the connection string is not absolute; a server's own working folder means "
                 u"nothing to its clients."}));
  }
  return folder;
}

std::span<const TextView> SqliteEngine::providers() const { return kProviders; }

std::unique_ptr<ado::EngineSession> SqliteEngine::connect(const ado::ConnectionString& string) {
  auto folder = folder_of(string);
  std::error_code error;
  if (!std::filesystem::is_directory(folder, error)) {
    throw ado::AdoError(ado::AdoErrorNumber::kUnspecified,
                        join({u"The folder ", file_text(folder), u" does not exist."}));
  }
  return std::make_unique<Session>(std::move(folder), statement_limit_);
}

}  // namespace tarnwick::sqlite
