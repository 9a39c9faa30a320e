#include "tests/model/process_in_here.h"

#include "engines/sqlite/engine.h"
#include "tests/model/failing_engine.h"
#include "tests/model/outside.h"
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
  ProcessInHere(std::unique_ptr<ado::Engine> engine, const ProcessTraits& traits)
      : traits_(traits), engine_(std::move(engine)) {}
  client::Transport& transport() override { return *transport_; }
  [[nodiscard]] ProcessTraits traits() const override { return traits_; }
  void refuse_next_commit() override { engine_.refuse_next_commit(); }
  void cut_connections() override { engine_.cut_connections(); }

 private:
  ProcessTraits traits_;
  test_support::TemporaryFolder folder_;
  FailingEngine engine_;
  Host host_{folder_.path(), box};
  SharedState state_{host_, {&engine_}};
  std::unique_ptr<client::Transport> transport_ = client::make_in_process_transport(state_);
};

}  // namespace

std::unique_ptr<PlayedProcess> make_process_in_here(std::unique_ptr<ado::Engine> engine,
                                                    const ProcessTraits& traits) {
  return std::make_unique<ProcessInHere>(std::move(engine), traits);
}

std::unique_ptr<PlayedProcess> make_embedded_process(int /*number*/) {
  return make_process_in_here(std::make_unique<sqlite::SqliteEngine>(),
                              {.can_refuse_commits = true, .can_be_cut = true});
}

const Stage kInHere{&make_embedded_process, &make_embedded_database};

}  // namespace tarnwick::model
