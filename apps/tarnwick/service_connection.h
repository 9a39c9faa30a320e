#pragma once

#include <systemd/sd-bus.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/service_bus.h"
#include "apps/tarnwick/terminal_input.h"
#include "automation/dbus/error.h"
#include "automation/dbus/handles.h"
#include "platform/message_box.h"

namespace tarnwick::cli {

/// Throws Failure when what was put into a call cannot go over the bus. `result`: of sd-bus.
void check_argument(int result);

/// A call that the service refused.
class Refusal : public Failure {
 public:
  Refusal(std::string name, const std::string& text)
      : Failure(ExitCode::kFailed, "The service refused a call: " + text), name_(std::move(name)) {}
  /// The D-Bus error.
  [[nodiscard]] const std::string& name() const { return name_; }

 private:
  std::string name_;
};

/// Calls the service, for as long as it takes, and answers its questions meanwhile. Must stay where
/// it is: the bus knows its address.
class ServiceConnection final {
 public:
  /// `message_box` answers the questions; one that does so by `input` gives up when the service no
  /// longer waits. Both must outlive this. Throws Failure.
  ServiceConnection(std::unique_ptr<ServiceBus> bus, platform::MessageBox& message_box,
                    TerminalInput& input);
  ~ServiceConnection();
  ServiceConnection(const ServiceConnection&) = delete;
  ServiceConnection& operator=(const ServiceConnection&) = delete;

  using Message = automation::dbus::MessageHandle;

  /// Makes sure that connecting with this string takes nothing from another client of the service,
  /// and that no other client of this kind connects as long as this lives. False if it would.
  [[nodiscard]] bool reserve(const std::string& connect_string);

  /// A call that still needs its arguments.
  [[nodiscard]] Message new_call(const std::string& path, const std::string& interface,
                                 const char* member);

  /// Returns the reply. Throws Refusal.
  Message send(Message call);

  /// With arguments as sd_bus_message_append takes them.
  template <class... Arguments>
  Message call(const std::string& path, const std::string& interface, const char* member,
               const char* types = "", Arguments... arguments) {
    Message message = new_call(path, interface, member);
    check_argument(sd_bus_message_append(message.get(), types, arguments...));
    return send(std::move(message));
  }

 private:
  static int on_question(sd_bus_message* message, void* connection, sd_bus_error* error);
  void answer_question();
  [[nodiscard]] bool still_waits();

  platform::MessageBox& message_box_;
  TerminalInput& input_;
  std::unique_ptr<ServiceBus> bus_;
  automation::dbus::SlotHandle prompt_;
  Message question_;
  std::uint32_t retried_ =
      0;           // how often a question of the call that was sent last was answered so
  Message reply_;  // to the call that was sent last
};

/// The one result of a call.
[[nodiscard]] bool boolean_result(const ServiceConnection::Message& reply);
[[nodiscard]] std::int32_t number_result(const ServiceConnection::Message& reply);
/// Of type s or o.
[[nodiscard]] std::string text_result(const ServiceConnection::Message& reply, char type);

/// An object of the service that this process holds; given up at its end.
class RemoteObject final {
 public:
  /// Creates an object of the class. `service` must outlive this.
  RemoteObject(ServiceConnection& service, const char* class_name);
  /// Takes over what was handed out.
  RemoteObject(ServiceConnection& service, const char* class_name, std::string path);
  ~RemoteObject();
  RemoteObject(const RemoteObject&) = delete;
  RemoteObject& operator=(const RemoteObject&) = delete;

  [[nodiscard]] ServiceConnection& service() const { return service_; }
  [[nodiscard]] const std::string& path() const { return path_; }
  [[nodiscard]] const std::string& interface() const { return interface_; }

  template <class... Arguments>
  ServiceConnection::Message call(const char* member, const char* types = "",
                                  Arguments... arguments) const {
    return service_.call(path_, interface_, member, types, arguments...);
  }
  /// The property as a message that stands inside its variant.
  [[nodiscard]] ServiceConnection::Message get(const char* property, const char* type) const;

 private:
  ServiceConnection& service_;
  std::string interface_;
  std::string path_;
};

}  // namespace tarnwick::cli
