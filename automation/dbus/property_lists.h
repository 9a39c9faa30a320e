#pragma once

#include <systemd/sd-bus.h>

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "automation/dbus/wire.h"
#include "automation/model.h"

namespace tarnwick::automation::dbus {

/// The value of a property as clients get it: an account of errors is readable, whatever it quotes.
[[nodiscard]] Value read_property(const Object& object, const Member& member);

/// All properties of an object in one message. What a class's properties need there is made once:
/// rows come by the thousand.
class PropertyLists {
 public:
  PropertyLists();

  /// Appends the properties of `object` as a{sv}, but those that cannot be had at the moment.
  /// Returns roughly their bytes; the list is cut off beyond kMostBytes.
  std::size_t append_all(sd_bus_message* message, const Object& object, Paths& paths) const {
    return append(message, object, true, paths);
  }
  /// The same without the error state, which all objects share: of many rows, each would only
  /// repeat it.
  std::size_t append_row(sd_bus_message* message, const Object& object, Paths& paths) const {
    return append(message, object, false, paths);
  }

 private:
  struct Property {
    const Member* member = nullptr;
    std::string name;
    const char* signature = nullptr;
    bool is_error_state = false;
  };

  std::size_t append(sd_bus_message* message, const Object& object, bool with_error_state,
                     Paths& paths) const;

  std::array<std::vector<Property>, kClassCount> properties_;
};

}  // namespace tarnwick::automation::dbus
