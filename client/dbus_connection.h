#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <string>
#include <utility>

#include "automation/dbus/error.h"
#include "automation/dbus/handles.h"
#include "client/dbus_transport.h"

namespace tarnwick::client {

/// A call that was answered with an error.
class DbusRefusal final : public CallError {
 public:
  /// `name`: of the D-Bus error.
  DbusRefusal(std::string name, const std::string& text);
  [[nodiscard]] const std::string& name() const { return name_; }

 private:
  std::string name_;
};

/// Calls the service, for as long as it takes, and answers its questions meanwhile. Must stay where
/// it is: the bus knows its address.
class DbusConnection final {
 public:
  using Message = automation::dbus::MessageHandle;

  /// See make_dbus_transport. All members throw CallError and std::system_error.
  DbusConnection(sd_bus* bus, Questions questions);
  ~DbusConnection();
  DbusConnection(const DbusConnection&) = delete;
  DbusConnection& operator=(const DbusConnection&) = delete;

  /// A call that still needs its arguments.
  [[nodiscard]] Message new_call(const std::string& path, const std::string& interface,
                                 const std::string& member);

  /// Returns the reply. Throws DbusRefusal.
  Message send(Message call);

  /// With arguments as sd_bus_message_append takes them; texts among them are names and paths.
  template <class... Arguments>
  Message call(const std::string& path, const std::string& interface, const std::string& member,
               const char* types = "", Arguments... arguments) {
    Message message = new_call(path, interface, member);
    automation::dbus::check(sd_bus_message_append(message.get(), types, arguments...),
                            "making a call");
    return send(std::move(message));
  }

 private:
  static int on_question(sd_bus_message* message, void* connection, sd_bus_error* error);
  void answer_question();
  [[nodiscard]] bool still_waits();

  sd_bus* bus_;
  Questions questions_;
  automation::dbus::SlotHandle prompt_;
  Message question_;
  // How often a question of the call that was sent last was answered by Retry.
  std::uint32_t retried_ = 0;
  Message reply_;  // to the call that was sent last
};

}  // namespace tarnwick::client
