#pragma once

#include <chrono>
#include <filesystem>

#include "ado/engine.h"

namespace tarnwick::sqlite {

/// The embedded engine: a database is a plain SQLite file "<name>.db" in the folder that the
/// connection string's "Data Source" names (Provider=Tarnwick.Embedded). Row locks are advisory
/// byte-range locks of the operating system on a file beside the database; the database file itself
/// is written only in short transactions.
class SqliteEngine final : public ado::Engine {
 public:
  /// How long a statement may work; what it waits for locks comes on top and is limited by the lock
  /// time-out. The default is that of ADO's CommandTimeout.
  static constexpr std::chrono::milliseconds kStatementLimit{30'000};

  explicit SqliteEngine(std::chrono::milliseconds statement_limit = kStatementLimit)
      : statement_limit_(statement_limit) {}

  /// The folder that a connection string for this engine names. Throws AdoError for one that names
  /// none, or has items that this engine does not know.
  [[nodiscard]] static std::filesystem::path folder_of(const ado::ConnectionString& string);

  [[nodiscard]] std::span<const TextView> providers() const override;
  [[nodiscard]] std::unique_ptr<ado::EngineSession> connect(
      const ado::ConnectionString& string) override;

 private:
  std::chrono::milliseconds statement_limit_;
};

}  // namespace tarnwick::sqlite
