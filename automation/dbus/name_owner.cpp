#include "automation/dbus/name_owner.h"

#include <systemd/sd-daemon.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "automation/dbus/error.h"
#include "automation/dbus/names.h"

namespace tarnwick::automation::dbus {
namespace {

constexpr char kBus[] = "org.freedesktop.DBus";
constexpr std::uint64_t kAccuracy = 1000;              // microseconds
constexpr std::uint64_t kManagerPatience = 5'000'000;  // microseconds

int on_acquired(sd_bus_message* message, void* userdata, sd_bus_error*) {
  const char* name = "";  // it stays so where the bus says something else than it always does
  sd_bus_message_read(message, "s", &name);
  if (std::strcmp(name, kInstanceName) == 0) *static_cast<bool*>(userdata) = true;
  return 0;
}

int on_owner_changed(sd_bus_message* /*message*/, void* /*userdata*/, sd_bus_error* /*error*/) {
  return 0;  // that it came is enough: it ends a wait
}

bool has_owner(sd_bus* bus, const char* name) {
  const int found = sd_bus_get_name_creds(bus, name, 0, nullptr);
  if (found == -ENXIO) return false;
  check(found, "asking for the owner of a name");
  return true;
}

}  // namespace

bool NameOwner::acquire() {
  if (!acquire_instance()) return false;
  check(sd_bus_request_name(bus_, kBusName, 0), "requesting the name org.tarnwick.Security1");
  return true;
}

bool NameOwner::acquire_instance() {
  bool is_ours = false;
  sd_bus_slot* slot = nullptr;
  check(
      sd_bus_match_signal(bus_, &slot, kBus, nullptr, kBus, "NameAcquired", &on_acquired, &is_ours),
      "watching names");
  const SlotHandle acquired(slot);
  check(sd_bus_match_signal(bus_, &slot, kBus, nullptr, kBus, "NameOwnerChanged", &on_owner_changed,
                            nullptr),
        "watching names");
  const SlotHandle owner_changed(slot);

  if (sd_bus_request_name(bus_, kInstanceName, SD_BUS_NAME_QUEUE) != 0) {
    // 1: ours. Less: what is wrong shows in the request for the name itself, where it matters.
    return true;
  }
  // Another process has it: either it serves this bus, or it is about to leave.
  while (!is_ours) {
    if (has_owner(bus_, kBusName)) return false;
    bool anything_came = false;
    while (check(sd_bus_process(bus_, nullptr), "waiting for the name") > 0) anything_came = true;
    if (anything_came) continue;
    check(past_signals([&] { return sd_bus_wait(bus_, UINT64_MAX); }), "waiting for the name");
  }
  return true;
}

void NameOwner::end_when_idle(sd_event* event, std::function<bool()> idle, Seconds patience,
                              std::optional<Seconds> unused) {
  event_ = event;
  idle_ = std::move(idle);
  patience_ = patience;
  unused_ = unused;

  sd_event_source* source = nullptr;
  check(sd_event_add_time(event_, &source, CLOCK_MONOTONIC, UINT64_MAX, kAccuracy,
                          &NameOwner::on_time, this),
        "watching the time");
  clock_.reset(source);
  check(sd_event_source_set_enabled(source, SD_EVENT_OFF), "watching the time");
  // Never due: its preparation runs before each wait, which a source of the kind "post" would cost
  // a turn of the loop of its own for each request.
  check(sd_event_add_time(event_, &source, CLOCK_MONOTONIC, UINT64_MAX, kAccuracy,
                          &NameOwner::on_time, this),
        "watching events");
  before_wait_.reset(source);
  check(sd_event_source_set_prepare(source, &NameOwner::on_wait), "watching events");
  sd_bus_slot* slot = nullptr;
  check(sd_bus_add_filter(bus_, &slot, &NameOwner::on_message, this), "watching messages");
  filter_.reset(slot);
  restart_clock();
}

int NameOwner::on_message(sd_bus_message* message, void* userdata, sd_bus_error*) {
  std::uint8_t type = 0;
  if (sd_bus_message_get_type(message, &type) < 0 || type != SD_BUS_MESSAGE_METHOD_CALL) return 0;
  auto& owner = *static_cast<NameOwner*>(userdata);
  owner.request_came_ = true;
  // A request that came before the name was given up: what follows it has to come here too.
  if (owner.released_ && sd_bus_request_name(owner.bus_, kBusName, 0) >= 0) {
    owner.released_ = false;
    // Ending may now take as long as clients like: a year, which nobody outlasts.
    sd_notify(0, "EXTEND_TIMEOUT_USEC=31536000000000");
  }
  return 0;
}

int NameOwner::on_wait(sd_event_source*, void* userdata) {
  auto& owner = *static_cast<NameOwner*>(userdata);
  if (!owner.idle_()) {
    owner.used_ = true;
    if (owner.counting_) sd_event_source_set_enabled(owner.clock_.get(), SD_EVENT_OFF);
    owner.counting_ = false;
  } else if (owner.request_came_ || !owner.counting_) {
    owner.restart_clock();
  }
  owner.request_came_ = false;
  return 0;
}

void NameOwner::restart_clock() {
  if (!used_ && !unused_) return;
  const std::chrono::microseconds time(used_ ? patience_ : *unused_);
  sd_event_source_set_time_relative(clock_.get(), static_cast<std::uint64_t>(time.count()));
  sd_event_source_set_enabled(clock_.get(), SD_EVENT_ONESHOT);
  counting_ = true;
}

int NameOwner::on_time(sd_event_source*, std::uint64_t, void* userdata) {
  auto& owner = *static_cast<NameOwner*>(userdata);
  owner.counting_ = false;
  // A request may have been carried out since the clock was looked at.
  if (!owner.idle_()) return 0;
  // A service manager that was asked to start what is running still would do nothing, and the bus
  // would wait in vain: it has to know before the bus can ask it.
  if (sd_notify(0, "STOPPING=1") > 0) sd_notify_barrier(0, kManagerPatience);
  if (sd_bus_release_name(owner.bus_, kBusName) < 0) {
    return sd_event_exit(owner.event_, EXIT_FAILURE);
  }
  owner.released_ = true;
  // The answer to the release came behind all that was sent to the name before it: whatever there
  // is to be lost has arrived.
  while (sd_bus_process(owner.bus_, nullptr) > 0) {
  }
  return owner.released_ ? sd_event_exit(owner.event_, EXIT_SUCCESS) : 0;
}

}  // namespace tarnwick::automation::dbus
