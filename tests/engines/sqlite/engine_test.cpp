#include "engines/sqlite/engine.h"

#include "engines/sqlite/create_database.h"
#include "tests/engines/engine_contract.h"
#include "tests/support/temporary_folder.h"

namespace tarnwick::engine_contract {
namespace {

class EmbeddedUnderTest final : public EngineUnderTest {
 public:
  EmbeddedUnderTest() {
    sqlite::create_database(folder_.path(), database(), role(), role_password());
  }
  [[nodiscard]] ado::Engine& engine() override { return engine_; }
  [[nodiscard]] Text connection_string() const override {
    return join({u"Provider=Tarnwick.Embedded;Data Source=", folder_.path().u16string()});
  }
  [[nodiscard]] Text database() const override { return u"Velmar_Sec"; }
  [[nodiscard]] Text role() const override { return u"Maintainer"; }
  [[nodiscard]] Text role_password() const override { return u"sesame"; }
  [[nodiscard]] Codes codes() const override {
    return {.unknown_database = -2147467259,
            .role_refused = -2147217843,
            .role_missing = -2147217911};
  }

 private:
  test_support::TemporaryFolder folder_;
  sqlite::SqliteEngine engine_;
};

INSTANTIATE_TEST_SUITE_P(Embedded, EngineContract,
                         testing::Values(EngineFactory{
                             .name = "Embedded",
                             .unavailable = {},
                             .make = [] { return std::make_unique<EmbeddedUnderTest>(); }}));

}  // namespace
}  // namespace tarnwick::engine_contract
