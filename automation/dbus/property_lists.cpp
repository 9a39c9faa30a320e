#include "automation/dbus/property_lists.h"

#include <utility>
#include <variant>

#include "automation/dbus/error.h"
#include "automation/dbus/interface.h"
#include "runtime/error.h"

namespace tarnwick::automation::dbus {

Value read_property(const Object& object, const Member& member) {
  Value value = call(object, member);
  if (member.name == "LastErrorMsg") return readable(std::get<Text>(std::move(value)));
  return value;
}

PropertyLists::PropertyLists() {
  for (const Class& of : classes()) {
    for (const Member& member : of.members) {
      if (!is_property(member)) continue;
      properties_[static_cast<std::size_t>(of.id)].push_back(
          {&member, std::string(member.name), signature_of(member.result),
           member.name.starts_with("LastError")});
    }
  }
}

std::size_t PropertyLists::append(sd_bus_message* message, const Object& object,
                                  bool with_error_state, Paths& paths) const {
  std::size_t bytes = 0;
  open_part(message, SD_BUS_TYPE_ARRAY, "{sv}");
  for (const Property& property : properties_[static_cast<std::size_t>(object.class_id)]) {
    if (property.is_error_state && !with_error_state) continue;
    try {
      const Outgoing outgoing(property.member->result, read_property(object, *property.member),
                              paths);
      bytes += outgoing.size() + 2 * property.name.size();
      if (bytes > kMostBytes) break;
      open_part(message, SD_BUS_TYPE_DICT_ENTRY, "sv");
      append_basic(message, SD_BUS_TYPE_STRING, property.name.c_str());
      open_part(message, SD_BUS_TYPE_VARIANT, property.signature);
      outgoing.append_to(message);
      close_part(message);
      close_part(message);
    } catch (const Error&) {
      // One that fails is left out, as it would be missing from an object that lacks it; who reads
      // it alone is told why.
    } catch (const WireError&) {
    }
  }
  close_part(message);
  return bytes;
}

}  // namespace tarnwick::automation::dbus
