#include "automation/dbus/vtable.h"

#include <cstdint>
#include <cstring>
#include <utility>

#include "automation/dbus/signature.h"

namespace tarnwick::automation::dbus {
namespace {

// All members are for everybody whom the bus lets through: without the flag sd-bus would want
// administrators on the system bus.
constexpr std::uint64_t kForEverybody = SD_BUS_VTABLE_UNPRIVILEGED;

// sd-bus wants what a union leaves unused to be zero.
sd_bus_vtable entry(std::uint8_t type, std::uint64_t flags) {
  sd_bus_vtable made;
  std::memset(&made, 0, sizeof made);
  made.type = type;
  made.flags = flags & ((std::uint64_t{1} << 56) - 1);
  return made;
}

}  // namespace

Vtable::Vtable() {
  sd_bus_vtable start = entry(_SD_BUS_VTABLE_START, 0);
  start.x.start.element_size = sizeof(sd_bus_vtable);
  start.x.start.features = _SD_BUS_VTABLE_PARAM_NAMES;
  start.x.start.vtable_format_reference = &sd_bus_object_vtable_format;
  entries_.push_back(start);
}

const char* Vtable::keep(std::string text) { return texts_.emplace_back(std::move(text)).c_str(); }

Vtable& Vtable::method(std::string_view name, std::string_view signature,
                       const std::vector<std::string_view>& argument_names, std::string_view result,
                       const std::vector<std::string_view>& result_names,
                       sd_bus_message_handler_t handler, std::uint64_t flags) {
  std::string names;
  for (const auto* list : {&argument_names, &result_names}) {
    for (const std::string_view each : *list) names.append(each).push_back('\0');
  }
  sd_bus_vtable made = entry(_SD_BUS_VTABLE_METHOD, kForEverybody | flags);
  made.x.method.member = keep(std::string(name));
  made.x.method.signature = keep(std::string(signature));
  made.x.method.result = keep(std::string(result));
  made.x.method.handler = handler;
  made.x.method.names = keep(std::move(names));
  entries_.push_back(made);
  return *this;
}

Vtable& Vtable::property(std::string_view name, std::string_view signature,
                         sd_bus_property_get_t get, sd_bus_property_set_t set) {
  // Reading is free to everybody anyway.
  sd_bus_vtable made = set == nullptr ? entry(_SD_BUS_VTABLE_PROPERTY, 0)
                                      : entry(_SD_BUS_VTABLE_WRITABLE_PROPERTY, kForEverybody);
  made.x.property.member = keep(std::string(name));
  made.x.property.signature = keep(std::string(signature));
  made.x.property.get = get;
  made.x.property.set = set;
  entries_.push_back(made);
  return *this;
}

const sd_bus_vtable* Vtable::finish() {
  entries_.push_back(entry(_SD_BUS_VTABLE_END, 0));
  return entries_.data();
}

Vtable class_vtable(const automation::Class& of, sd_bus_message_handler_t call,
                    sd_bus_property_get_t get, sd_bus_property_set_t set) {
  Vtable vtable;
  for (const automation::Member& member : of.members) {
    const char* result = signature_of(member.result);
    if (is_property(member)) {
      vtable.property(member.name, result, get,
                      member.access == automation::Member::Access::kGetLet ? set : nullptr);
      continue;
    }
    std::vector<std::string_view> names;
    bool secret = false;
    for (const automation::Argument& argument : member.arguments) {
      names.push_back(argument.name);
      secret = secret || argument.name.ends_with("Password");
    }
    // sd-bus wipes the memory of such calls.
    vtable.method(member.name, argument_signature(member), names, result, {"result"}, call,
                  secret ? std::uint64_t{SD_BUS_VTABLE_SENSITIVE} : 0);
  }
  return vtable;
}

}  // namespace tarnwick::automation::dbus
