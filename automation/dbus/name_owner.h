#pragma once

#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include <chrono>
#include <functional>
#include <optional>

#include "automation/dbus/handles.h"

namespace tarnwick::automation::dbus {

/// Owns the service's name on a bus, from the first request to the last.
///
/// A process that has nothing to do ends, and the bus starts a new one for the next request. No
/// request is lost between the two: whoever wants the name has to own the instance name first, and
/// that one is given up only by leaving the bus. So an idle process first releases its name, which
/// makes the bus keep further requests for a new process; then looks whether a request came in
/// before that; and if so takes its name back, which nobody can have taken meanwhile. A service
/// manager that started the process is told beforehand, so that it starts a new one only after it.
class NameOwner {
 public:
  using Seconds = std::chrono::seconds;

  explicit NameOwner(sd_bus* bus) : bus_(bus) {}

  /// Takes the name. False when another process serves this bus. Throws std::system_error.
  [[nodiscard]] bool acquire();

  /// Ends `event` when `idle` has been true again for `patience` without a request; and when it has
  /// not been false once, after `unused` without a request, or never.
  void end_when_idle(sd_event* event, std::function<bool()> idle, Seconds patience,
                     std::optional<Seconds> unused);

 private:
  [[nodiscard]] bool acquire_instance();
  void restart_clock();
  static int on_wait(sd_event_source*, void* owner);
  static int on_time(sd_event_source*, std::uint64_t, void* owner);
  static int on_message(sd_bus_message* message, void* owner, sd_bus_error*);

  sd_bus* bus_;
  sd_event* event_ = nullptr;
  std::function<bool()> idle_;
  Seconds patience_{};
  std::optional<Seconds> unused_;
  bool used_ = false;
  bool request_came_ = false;
  bool counting_ = false;
  bool released_ = false;
  EventSourceHandle clock_;
  EventSourceHandle before_wait_;
  SlotHandle filter_;
};

}  // namespace tarnwick::automation::dbus
