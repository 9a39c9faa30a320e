#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

#include "engines/sqlite/open_database.h"
#include "engines/sqlite/session_statement.h"
#include "engines/sqlite/sqlite_rowset.h"

namespace tarnwick::sqlite {

/// A session on the databases of a folder.
class Session final : public ado::EngineSession {
 public:
  Session(std::filesystem::path folder, CallTime::Limit statement_limit)
      : folder_(std::move(folder)), statement_limit_(statement_limit) {}

  void set_default_database(TextView name) override;
  void execute(TextView statement) override;
  [[nodiscard]] std::unique_ptr<ado::Rowset> open(const ado::RowsetRequest& request) override;
  void begin() override;
  void begin_load() override;
  void commit() override;
  void rollback() override;
  [[nodiscard]] std::optional<std::vector<Text>> columns_of(TextView table) override;
  [[nodiscard]] std::vector<ado::HeldRow> held_rows() override;
  [[nodiscard]] Text byte_length_of(TextView column) override;

 private:
  struct Prepared {
    sqlite3_stmt* statement = nullptr;
    Query query;
  };
  struct KnownShape {
    std::int64_t schema_version = 0;
    std::shared_ptr<const Shape> shape;
  };

  void enter_role(const SetAppRole& role);
  /// The client's statement; nothing when it concerned the session and has been carried out.
  [[nodiscard]] std::optional<Prepared> prepare(TextView statement);
  void run(const Prepared& prepared);
  [[nodiscard]] std::shared_ptr<const Shape> shape_of(const Prepared& prepared);
  /// Throws while no database is open.
  [[nodiscard]] OpenDatabase& database();
  /// Throws until the application role has been entered.
  [[nodiscard]] OpenDatabase& admitted();

  std::filesystem::path folder_;
  CallTime::Limit statement_limit_;
  std::int32_t lock_timeout_ = CallTime::kForEver;
  std::unique_ptr<OpenDatabase> database_;
  Text name_;
  std::unordered_map<std::string, KnownShape> shapes_;  // by statement, of parameterized look-ups
  bool admitted_ = false;
};

}  // namespace tarnwick::sqlite
