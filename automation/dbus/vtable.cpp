#include "automation/dbus/vtable.h"

#include <cstdint>
#include <cstring>
#include <utility>

namespace tarnwick::automation::dbus {
namespace {

// All members are for everybody whom the bus lets through: without the flag sd-bus would want
// administrators on the system bus. Reading properties is free to everybody anyway.
constexpr std::uint64_t kForEverybody = SD_BUS_VTABLE_UNPRIVILEGED;

// sd-bus wants what a union leaves unused to be zero.
sd_bus_vtable entry(std::uint8_t type, std::uint64_t flags) {
  sd_bus_vtable made;
  std::memset(&made, 0, sizeof made);
  made.type = type;
  made.flags = flags & ((std::uint64_t{1} << 56) - 1);
  return made;
}

sd_bus_vtable start() {
  sd_bus_vtable made = entry(_SD_BUS_VTABLE_START, 0);
  made.x.start.element_size = sizeof(sd_bus_vtable);
  made.x.start.features = _SD_BUS_VTABLE_PARAM_NAMES;
  made.x.start.vtable_format_reference = &sd_bus_object_vtable_format;
  return made;
}

}  // namespace

Vtable::Vtable(const Interface& interface, sd_bus_message_handler_t call, sd_bus_property_get_t get,
               sd_bus_property_set_t set) {
  entries_.push_back(start());
  for (const InterfaceMember& member : interface.members) {
    if (member.kind == InterfaceMember::Kind::kMethod) {
      entries_.push_back(method(member, call));
      continue;
    }
    const bool writable = member.kind == InterfaceMember::Kind::kProperty;
    sd_bus_vtable made = writable ? entry(_SD_BUS_VTABLE_WRITABLE_PROPERTY, kForEverybody)
                                  : entry(_SD_BUS_VTABLE_PROPERTY, 0);
    made.x.property.member = keep(member.name);
    made.x.property.signature = keep(member.result_signature());
    made.x.property.get = get;
    made.x.property.set = writable ? set : nullptr;
    entries_.push_back(made);
  }
  entries_.push_back(entry(_SD_BUS_VTABLE_END, 0));
}

const char* Vtable::keep(std::string text) { return texts_.emplace_back(std::move(text)).c_str(); }

sd_bus_vtable Vtable::method(const InterfaceMember& member, sd_bus_message_handler_t call) {
  std::string names;
  for (const auto* list : {&member.arguments, &member.results}) {
    for (const InterfaceArgument& each : *list) names.append(each.name).push_back('\0');
  }
  // sd-bus wipes the memory of calls with a secret.
  const std::uint64_t wiped = member.secret ? std::uint64_t{SD_BUS_VTABLE_SENSITIVE} : 0;
  sd_bus_vtable made = entry(_SD_BUS_VTABLE_METHOD, kForEverybody | wiped);
  made.x.method.member = keep(member.name);
  made.x.method.signature = keep(member.argument_signature());
  made.x.method.result = keep(member.result_signature());
  made.x.method.handler = call;
  made.x.method.names = keep(std::move(names));
  return made;
}

}  // namespace tarnwick::automation::dbus
