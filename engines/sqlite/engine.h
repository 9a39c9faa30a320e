#pragma once

#include "ado/engine.h"

namespace tarnwick::sqlite {

/// The embedded engine: a database is a plain SQLite file "<name>.db" in the folder that the
/// connection string's "Data Source" names (Provider=Tarnwick.Embedded). Row locks are advisory
/// byte-range locks of the operating system on a file beside the database; the database file itself
/// is written only in short transactions.
class SqliteEngine final : public ado::Engine {
 public:
  [[nodiscard]] std::span<const TextView> providers() const override;
  [[nodiscard]] std::unique_ptr<ado::EngineSession> connect(
      const ado::ConnectionString& string) override;
};

}  // namespace tarnwick::sqlite
