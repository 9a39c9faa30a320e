#pragma once

namespace tarnwick::sqlite {

/// The statements that make an empty embedded database (schema/embedded.sql).
extern const char* const kEmbeddedSchema;

/// Tables of that schema which the engine itself knows.
inline constexpr const char* kRoleTable = "DW_APP_ROLE";
inline constexpr const char* kVersionTable = "DW_ROW_VERSION";

}  // namespace tarnwick::sqlite
