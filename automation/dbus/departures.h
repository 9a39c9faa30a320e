#pragma once

#include <systemd/sd-bus.h>

#include <deque>
#include <string>
#include <unordered_set>

#include "automation/dbus/handles.h"

namespace tarnwick::automation::dbus {

/// Who has left the bus. Learns of it on a connection of its own, where that news does not stand
/// behind the calls that wait: a client that leaves behind a thousand of them is known to have left
/// before the first is carried out. `bus` is that connection, which takes no calls, and must
/// outlive this.
class Departures {
 public:
  explicit Departures(sd_bus* bus);
  Departures(const Departures&) = delete;
  Departures& operator=(const Departures&) = delete;

  /// `client` is a unique name, which no other client ever gets.
  [[nodiscard]] bool has_left(const std::string& client);

 private:
  static int on_message(sd_bus_message* message, void* departures, sd_bus_error* error);
  static int on_left(sd_bus_message* message, void* departures, sd_bus_error* error);
  void add(std::string client);

  sd_bus* bus_;
  std::unordered_set<std::string> left_;
  std::deque<const std::string*> order_;  // of `left_`, the first to leave first
  SlotHandle slot_;
  SlotHandle filter_;
};

}  // namespace tarnwick::automation::dbus
