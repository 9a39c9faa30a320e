#include "engines/sqlite/client_rules.h"

#include <sqlite3.h>

#include <algorithm>
#include <array>

#include "engines/sqlite/embedded_schema.h"

namespace tarnwick::sqlite {
namespace {

bool equals(const char* name, const char* other) {
  return name != nullptr && sqlite3_stricmp(name, other) == 0;
}

// These only read, or only concern the schema that the client sees.
constexpr std::array kPragmas = {
    "table_info",  "table_xinfo",      "table_list",      "index_list",     "index_info",
    "index_xinfo", "foreign_key_list", "database_list",   "collation_list", "function_list",
    "quick_check", "integrity_check",  "compile_options", "encoding",
};

}  // namespace

int ClientRules::authorize(void* rules, int action, const char* first, const char* second,
                           const char* /*schema*/, const char* trigger) {
  auto& self = *static_cast<ClientRules*>(rules);
  return self.active ? self.decide(action, first, second, trigger) : SQLITE_OK;
}

int ClientRules::decide(int action, const char* first, const char* second, const char* trigger) {
  switch (action) {
    case SQLITE_TRANSACTION:
    case SQLITE_SAVEPOINT:
      return refuse(u"Transactions are begun and ended through the connection, not by statements.");
    case SQLITE_ATTACH:
    case SQLITE_DETACH:
      return refuse(u"Other database files cannot be attached.");
    case SQLITE_PRAGMA:
      if (std::any_of(kPragmas.begin(), kPragmas.end(),
                      [&](const char* name) { return equals(first, name); })) {
        return SQLITE_OK;
      }
      return refuse(join({u"PRAGMA ", from_stored_utf8(first), u" is not available here."}));
    case SQLITE_FUNCTION:
      return SQLITE_OK;
    default:
      break;
  }
  if (equals(first, kRoleTable) || equals(second, kRoleTable)) {
    return refuse(u"The table DW_APP_ROLE cannot be used by statements.");
  }
  if (action != SQLITE_READ && action != SQLITE_SELECT && trigger == nullptr &&
      (equals(first, kVersionTable) || equals(second, kVersionTable))) {
    return refuse(u"The table DW_ROW_VERSION is written by the row version triggers alone.");
  }
  return SQLITE_OK;
}

int ClientRules::refuse(Text why) {
  refusal = std::move(why);
  return SQLITE_DENY;
}

}  // namespace tarnwick::sqlite
