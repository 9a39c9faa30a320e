#pragma once

#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>

#include <memory>
#include <string_view>

namespace tarnwick::automation::dbus {

template <auto kUnref>
struct Unref {
  template <class T>
  void operator()(T* handle) const {
    kUnref(handle);
  }
};

using BusHandle = std::unique_ptr<sd_bus, Unref<sd_bus_flush_close_unref>>;
using MessageHandle = std::unique_ptr<sd_bus_message, Unref<sd_bus_message_unref>>;
using SlotHandle = std::unique_ptr<sd_bus_slot, Unref<sd_bus_slot_unref>>;
using TrackHandle = std::unique_ptr<sd_bus_track, Unref<sd_bus_track_unref>>;
using EventHandle = std::unique_ptr<sd_event, Unref<sd_event_unref>>;
using EventSourceHandle = std::unique_ptr<sd_event_source, Unref<sd_event_source_disable_unref>>;

/// An error of sd-bus as a value that frees itself.
class ErrorHandle {
 public:
  ErrorHandle() = default;
  ~ErrorHandle() { sd_bus_error_free(&error_); }
  ErrorHandle(const ErrorHandle&) = delete;
  ErrorHandle& operator=(const ErrorHandle&) = delete;
  [[nodiscard]] sd_bus_error* get() { return &error_; }
  [[nodiscard]] const char* message() const {
    return error_.message == nullptr ? "" : error_.message;
  }
  [[nodiscard]] std::string_view name() const { return error_.name == nullptr ? "" : error_.name; }
  [[nodiscard]] bool is(const char* name) const {
    return sd_bus_error_has_name(&error_, name) != 0;
  }

 private:
  sd_bus_error error_{};
};

}  // namespace tarnwick::automation::dbus
