#pragma once

#include <systemd/sd-bus.h>

#include <deque>
#include <string>
#include <vector>

#include "automation/dbus/interface.h"

namespace tarnwick::automation::dbus {

/// The description of an interface that sd-bus checks calls against and answers introspection from.
/// Has to outlive the slot that it is registered with.
class Vtable {
 public:
  Vtable() = default;
  /// `get` and `set` are for interfaces with properties.
  Vtable(const Interface& interface, sd_bus_message_handler_t call,
         sd_bus_property_get_t get = nullptr, sd_bus_property_set_t set = nullptr);

  [[nodiscard]] const sd_bus_vtable* entries() const { return entries_.data(); }

 private:
  const char* keep(std::string text);
  [[nodiscard]] sd_bus_vtable method(const InterfaceMember& member, sd_bus_message_handler_t call);

  std::vector<sd_bus_vtable> entries_;
  std::deque<std::string> texts_;
};

}  // namespace tarnwick::automation::dbus
