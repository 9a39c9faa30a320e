#include "engines/sqlite/engine.h"

#include "tests/engines/engine_contract.h"
#include "tests/support/embedded_database.h"

namespace tarnwick::engine_contract {
namespace {

class EmbeddedUnderTest final : public EngineUnderTest {
 public:
  [[nodiscard]] ado::Engine& engine() override { return engine_; }
  [[nodiscard]] Text connection_string() const override { return database_.connection_string(); }
  [[nodiscard]] Text database() const override { return u"Velmar_Sec"; }
  [[nodiscard]] Text role() const override { return Text(test_support::EmbeddedDatabase::kRole); }
  [[nodiscard]] Text role_password() const override {
    return Text(test_support::EmbeddedDatabase::kPassword);
  }
  [[nodiscard]] Codes codes() const override {
    return {
        .unknown_database = -2147467259, .role_refused = -2147217843, .role_missing = -2147217911};
  }

 private:
  test_support::EmbeddedDatabase database_;
  sqlite::SqliteEngine engine_;
};

INSTANTIATE_TEST_SUITE_P(Embedded, EngineContract,
                         testing::Values(EngineFactory{
                             .name = "Embedded", .unavailable = {}, .make = [] {
                               return std::make_unique<EmbeddedUnderTest>();
                             }}));

}  // namespace
}  // namespace tarnwick::engine_contract
