#include "engines/odbc/engine.h"
#include "engines/sqlite/engine.h"
#include "tests/model/failing_engine.h"
#include "tests/model/outside.h"
#include "tests/model/sql_server.h"
#include "tests/support/object_model.h"

namespace tarnwick::model {
namespace {

class Host final : public test_support::ScriptedHost {
 public:
  Host(std::filesystem::path folder, platform::MessageBox& questions)
      : ScriptedHost(std::move(folder)), questions_(questions) {}
  [[nodiscard]] platform::MessageBox& message_box() override { return questions_; }

 private:
  platform::MessageBox& questions_;
};

class ProcessInHere final : public PlayedProcess {
 public:
  ProcessInHere(std::unique_ptr<ado::Engine> engine, const Traits& traits)
      : traits_(traits), engine_(std::move(engine)) {}
  client::Transport& transport() override { return *transport_; }
  [[nodiscard]] Traits traits() const override { return traits_; }
  void refuse_next_commit() override { engine_.refuse_next_commit(); }
  void cut_connections() override { engine_.cut_connections(); }

 private:
  Traits traits_;
  test_support::TemporaryFolder folder_;
  FailingEngine engine_;
  Host host_{folder_.path(), box};
  SharedState state_{host_, {&engine_}};
  std::unique_ptr<client::Transport> transport_ = client::make_in_process_transport(state_);
};

template <class Engine>
std::unique_ptr<PlayedProcess> make(const Traits& traits) {
  return std::make_unique<ProcessInHere>(std::make_unique<Engine>(), traits);
}

}  // namespace

const Stage kInHere{
    [] { return make<sqlite::SqliteEngine>({.can_refuse_commits = true, .can_be_cut = true}); },
    &make_embedded_database};

const Stage kOnSqlServer{[] {
                           return make<odbc::OdbcEngine>({.can_refuse_commits = true,
                                                          .takes_any_value = false,
                                                          .locks_bind_everybody = true,
                                                          .folds_all_letters = true,
                                                          .deleted_rows_are_held = false});
                         },
                         &make_sql_server_database};

}  // namespace tarnwick::model
