#pragma once

#include <systemd/sd-bus.h>

#include <deque>
#include <string>
#include <string_view>
#include <vector>

#include "automation/model.h"

namespace tarnwick::automation::dbus {

/// The description of an interface that sd-bus checks calls against and answers introspection from,
/// built up at run time. Has to outlive the slots that it is registered with.
class Vtable {
 public:
  Vtable();

  /// `argument_names` and `result_names` stand in the order of the signatures.
  Vtable& method(std::string_view name, std::string_view signature,
                 const std::vector<std::string_view>& argument_names, std::string_view result,
                 const std::vector<std::string_view>& result_names,
                 sd_bus_message_handler_t handler, std::uint64_t flags = 0);

  /// Read-only without `set`.
  Vtable& property(std::string_view name, std::string_view signature, sd_bus_property_get_t get,
                   sd_bus_property_set_t set);

  /// Ends the description.
  [[nodiscard]] const sd_bus_vtable* finish();

 private:
  const char* keep(std::string text);

  std::vector<sd_bus_vtable> entries_;
  std::deque<std::string> texts_;
};

/// The interface of a class: the members in the order of the table.
[[nodiscard]] Vtable class_vtable(const automation::Class& of, sd_bus_message_handler_t call,
                                  sd_bus_property_get_t get, sd_bus_property_set_t set);

}  // namespace tarnwick::automation::dbus
