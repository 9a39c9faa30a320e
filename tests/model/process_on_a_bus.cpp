#include "client/dbus_transport.h"
#include "tests/client/private_service.h"
#include "tests/model/outside.h"

namespace tarnwick::model {
namespace {

class ProcessOnABus final : public PlayedProcess {
 public:
  client::Transport& transport() override { return *transport_; }
  [[nodiscard]] bool has_own_time() const override { return true; }
  [[nodiscard]] ProcessTraits traits() const override {
    return {.ends_locks_of_dropped = true, .can_be_killed = true};
  }
  void kill() override { service_.kill_service(); }

 private:
  test_support::PrivateService service_;
  std::unique_ptr<client::Transport> transport_ =
      client::make_dbus_transport(service_.bus(), client::Questions{box});
};

}  // namespace

const Stage kOnBuses{
    [](int) -> std::unique_ptr<PlayedProcess> { return std::make_unique<ProcessOnABus>(); },
    &make_embedded_database};

}  // namespace tarnwick::model
