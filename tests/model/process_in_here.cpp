#include "tests/model/failing_engine.h"
#include "tests/model/played_system.h"
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
  client::Transport& transport() override { return *transport_; }
  [[nodiscard]] bool has_failing_database() const override { return true; }
  void refuse_next_commit() override { engine_.refuse_next_commit(); }
  void cut_connections() override { engine_.cut_connections(); }

 private:
  test_support::TemporaryFolder folder_;
  FailingEngine engine_;
  Host host_{folder_.path(), box};
  SharedState state_{host_, {&engine_}};
  std::unique_ptr<client::Transport> transport_ = client::make_in_process_transport(state_);
};

}  // namespace

std::unique_ptr<PlayedProcess> make_process_in_here() { return std::make_unique<ProcessInHere>(); }

}  // namespace tarnwick::model
