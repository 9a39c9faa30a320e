#include "apps/tarnwick/database/embedded_folder.h"

#include "ado/connection_string.h"
#include "apps/tarnwick/failure.h"
#include "engines/sqlite/engine.h"
#include "runtime/case_mapping.h"
#include "runtime/error.h"

namespace tarnwick::cli {

std::optional<std::filesystem::path> embedded_folder(const Text& connect_string) {
  try {
    const auto string = ado::ConnectionString::parse(connect_string);
    const auto provider = string.find(u"Provider");
    if (provider && equals_ignoring_case(*provider, sqlite::SqliteEngine().providers().front())) {
      return sqlite::SqliteEngine::folder_of(string);
    }
  } catch (const Error& error) {
    throw Failure(ExitCode::kUsage, to_display_utf8(error.description()));
  }
  return std::nullopt;
}

}  // namespace tarnwick::cli
