#pragma once

#include <systemd/sd-bus.h>

#include <chrono>
#include <functional>

#include "automation/dbus/clients.h"
#include "automation/dbus/handles.h"
#include "automation/dbus/service.h"
#include "platform/message_box.h"

namespace tarnwick::automation::dbus {

/// Asks the client whose call is running, if that client said that it answers questions, and
/// otherwise `otherwise`. A client that leaves, that answers with an error or not at all within
/// `patience` has answered Cancel. `bus` is a connection that takes no calls: while a question is
/// open nothing is read from the one that does, so that what waits there waits, in its order, with
/// the bus, which bounds it. All arguments must outlive this.
class BusMessageBox final : public platform::MessageBox {
 public:
  using Log = std::function<void(TextView)>;
  BusMessageBox(sd_bus* bus, const Clients& clients, const Caller& caller,
                std::chrono::seconds patience, platform::MessageBox& otherwise, Log log);

  [[nodiscard]] platform::Answer retry_or_cancel(TextView text, TextView title,
                                                 std::uint32_t retried) override;
  void inform(TextView text, TextView title) override;

 private:
  platform::Answer ask(const std::string& prompt, TextView text, TextView title);
  MessageHandle answer_to(sd_bus_message* question);

  sd_bus* bus_;
  const Clients& clients_;
  const Caller& caller_;
  std::chrono::seconds patience_;
  platform::MessageBox& otherwise_;
  Log log_;
};

}  // namespace tarnwick::automation::dbus
