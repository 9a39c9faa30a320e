#pragma once

#include <cstdint>

namespace tarnwick::sqlite {

/// The statements that make an empty embedded database (schema/embedded.sql).
extern const char* const kEmbeddedSchema;

/// Tables of that schema which the engine itself knows.
inline constexpr const char* kRoleTable = "DW_APP_ROLE";
inline constexpr const char* kVersionTable = "DW_ROW_VERSION";

/// What that schema writes into user_version. Files that say 0 are older ones, which lack an index,
/// and tables that were made otherwise.
inline constexpr std::int32_t kSchemaVersion = TARNWICK_SCHEMA_VERSION;

}  // namespace tarnwick::sqlite
