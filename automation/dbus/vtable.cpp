#include "automation/dbus/vtable.h"

#include <utility>

namespace tarnwick::automation::dbus {
namespace {

// The entries, still without names and handlers, as sd-bus's own macros make them: in static data,
// since it wants what an entry's union leaves unused to be zero. All members are for everybody whom
// the bus lets through: without the flag sd-bus would want administrators on the system bus.
// Reading properties is free to everybody anyway.
const sd_bus_vtable kStart = SD_BUS_VTABLE_START(0);
const sd_bus_vtable kMethod =
    SD_BUS_METHOD(nullptr, nullptr, nullptr, nullptr, SD_BUS_VTABLE_UNPRIVILEGED);
// sd-bus wipes the memory of calls with a secret.
const sd_bus_vtable kSecretMethod = SD_BUS_METHOD(
    nullptr, nullptr, nullptr, nullptr, SD_BUS_VTABLE_UNPRIVILEGED | SD_BUS_VTABLE_SENSITIVE);
const sd_bus_vtable kProperty = SD_BUS_PROPERTY(nullptr, nullptr, nullptr, 0, 0);
const sd_bus_vtable kWritableProperty =
    SD_BUS_WRITABLE_PROPERTY(nullptr, nullptr, nullptr, nullptr, 0, SD_BUS_VTABLE_UNPRIVILEGED);
const sd_bus_vtable kEnd = SD_BUS_VTABLE_END;

}  // namespace

Vtable::Vtable(const Interface& interface, sd_bus_message_handler_t call, sd_bus_property_get_t get,
               sd_bus_property_set_t set) {
  entries_.push_back(kStart);
  for (const InterfaceMember& member : interface.members) {
    if (member.kind == InterfaceMember::Kind::kMethod) {
      entries_.push_back(method(member, call));
      continue;
    }
    const bool writable = member.kind == InterfaceMember::Kind::kProperty;
    sd_bus_vtable made = writable ? kWritableProperty : kProperty;
    made.x.property.member = keep(member.name);
    made.x.property.signature = keep(member.result_signature());
    made.x.property.get = get;
    made.x.property.set = writable ? set : nullptr;
    entries_.push_back(made);
  }
  entries_.push_back(kEnd);
}

const char* Vtable::keep(std::string text) { return texts_.emplace_back(std::move(text)).c_str(); }

sd_bus_vtable Vtable::method(const InterfaceMember& member, sd_bus_message_handler_t call) {
  std::string names;
  for (const auto* list : {&member.arguments, &member.results}) {
    for (const InterfaceArgument& each : *list) names.append(each.name).push_back('\0');
  }
  sd_bus_vtable made = member.secret ? kSecretMethod : kMethod;
  made.x.method.member = keep(member.name);
  made.x.method.signature = keep(member.argument_signature());
  made.x.method.result = keep(member.result_signature());
  made.x.method.handler = call;
  made.x.method.names = keep(std::move(names));
  return made;
}

}  // namespace tarnwick::automation::dbus
