#include "automation/dbus/departures.h"

#include <cerrno>
#include <new>
#include <utility>

#include "automation/dbus/error.h"

namespace tarnwick::automation::dbus {
namespace {

// Calls wait for seconds; a bus does not see that many clients off meanwhile.
constexpr std::size_t kMostRemembered = 16384;

}  // namespace

Departures::Departures(sd_bus* bus) : bus_(bus) {
  sd_bus_slot* slot = nullptr;
  check(past_signals([&] {
          return sd_bus_add_match(
              bus_, &slot,
              "type='signal',sender='org.freedesktop.DBus',"
              "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg2=''",
              &Departures::on_left, this);
        }),
        "watching clients");
  slot_.reset(slot);
  check(sd_bus_add_filter(bus_, &slot, &Departures::on_message, nullptr), "watching clients");
  filter_.reset(slot);
}

// Without an answer: a stranger who reads none of them could have them pile up here.
int Departures::on_message(sd_bus_message* message, void*, sd_bus_error*) {
  return sd_bus_message_is_method_call(message, nullptr, nullptr) > 0 ? 1 : 0;
}

bool Departures::has_left(const std::string& client) {
  while (sd_bus_process(bus_, nullptr) > 0) {
  }
  return left_.contains(client);
}

int Departures::on_left(sd_bus_message* message, void* departures, sd_bus_error*) {
  const char* name = "";  // it stays so where the bus says something else than it always does
  sd_bus_message_read(message, "s", &name);
  if (*name != ':') return 0;
  try {
    static_cast<Departures*>(departures)->add(name);
    return 0;
  } catch (const std::bad_alloc&) {
    return -ENOMEM;
  }
}

void Departures::add(std::string client) {
  const auto [entry, added] = left_.insert(std::move(client));
  // Untaken: a bus gives each name once.
  if (!added) return;
  order_.push_back(&*entry);
  if (order_.size() <= kMostRemembered) return;
  left_.erase(*order_.front());
  order_.pop_front();
}

}  // namespace tarnwick::automation::dbus
