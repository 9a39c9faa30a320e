#pragma once

#include <string>

#include "automation/model.h"

namespace tarnwick::automation::dbus {

/// The D-Bus type of an argument or a result.
[[nodiscard]] const char* signature_of(const automation::Type& type);

/// The types of all arguments.
[[nodiscard]] std::string argument_signature(const automation::Member& member);

/// Whether the member is a property on the bus. Members with arguments are methods there, and so
/// are those that return many objects: reading all properties must not hand out a whole register.
[[nodiscard]] bool is_property(const automation::Member& member);

/// Whether the class is a collection, whose objects can be read in bulk.
[[nodiscard]] bool is_collection(const automation::Class& of);

}  // namespace tarnwick::automation::dbus
