#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <ostream>
#include <string>

#include "ado/engine.h"
#include "tests/engines/fetched_rows.h"

namespace tarnwick::engine_contract {

/// Error numbers in which engines may differ.
struct Codes {
  std::int32_t unknown_database = 0;
  /// A wrong role and a wrong password of a role that is there.
  std::int32_t role_refused = 0;
  /// Reading a table before the role was entered. Nothing where the test's login may read anyway.
  std::optional<std::int32_t> role_missing;
};

/// One engine with a fresh database: the three tables without rows, and an application role that
/// may read and write them.
class EngineUnderTest {
 public:
  virtual ~EngineUnderTest() = default;
  [[nodiscard]] virtual ado::Engine& engine() = 0;
  /// Opens a session on the server or folder of the database.
  [[nodiscard]] virtual Text connection_string() const = 0;
  [[nodiscard]] virtual Text database() const = 0;
  [[nodiscard]] virtual Text role() const = 0;
  [[nodiscard]] virtual Text role_password() const = 0;
  [[nodiscard]] virtual Codes codes() const = 0;
  /// False where the connection string's items go to a driver that passes over what it does not
  /// know.
  [[nodiscard]] virtual bool reads_all_items() const { return true; }
};

/// What an engine's tests instantiate EngineContract with.
struct EngineFactory {
  std::string name;
  /// Why the engine cannot be tested here and how to turn it on; empty where it can.
  std::string unavailable;
  std::function<std::unique_ptr<EngineUnderTest>()> make;

  friend void PrintTo(const EngineFactory& factory, std::ostream* out) { *out << factory.name; }
};

/// What every engine has to keep, whatever lies beneath. Each engine's tests say
///   INSTANTIATE_TEST_SUITE_P(Name, EngineContract, testing::Values(EngineFactory{...}));
/// in this namespace, and link tarnwick_engine_contract.
class EngineContract : public testing::TestWithParam<EngineFactory> {
 protected:
  void SetUp() override;

  /// A session in the database and the role, with a lock time-out of 100 ms.
  [[nodiscard]] std::unique_ptr<ado::EngineSession> open_session();
  /// A session without any of that.
  [[nodiscard]] std::unique_ptr<ado::EngineSession> connect(TextView more_items = {});

  /// All rows, by a client cursor.
  [[nodiscard]] static FetchedRows read(ado::EngineSession& session, TextView statement,
                                        ado::LockType lock = ado::LockType::kOptimistic);
  /// The first row, by a forward-only, read-only server cursor.
  [[nodiscard]] static FetchedRows look(ado::EngineSession& session, TextView statement);
  /// The first row, by a pessimistic server cursor: what holds a row.
  [[nodiscard]] static FetchedRows hold(ado::EngineSession& session, TextView statement);

  /// Reports with these names and the title "Old", each written on its own.
  static void add_reports(ado::EngineSession& session, std::initializer_list<TextView> names);

  [[nodiscard]] EngineUnderTest& under_test() { return *under_test_; }

 private:
  std::unique_ptr<EngineUnderTest> under_test_;
};

}  // namespace tarnwick::engine_contract
