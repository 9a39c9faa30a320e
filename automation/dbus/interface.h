#pragma once

#include <string>
#include <vector>

#include "automation/model.h"

namespace tarnwick::automation::dbus {

// The interfaces as they stand on the bus. What sd-bus is told and what is installed for code
// generators are made from the same description.

struct InterfaceArgument {
  std::string name;
  std::string signature;
};

struct InterfaceMember {
  enum class Kind { kMethod, kReadOnlyProperty, kProperty };

  std::string name;
  Kind kind = Kind::kMethod;
  std::vector<InterfaceArgument> arguments;
  /// A property has one.
  std::vector<InterfaceArgument> results;
  /// Whether an argument is to be wiped from memory after the call.
  bool secret = false;

  [[nodiscard]] std::string argument_signature() const;
  [[nodiscard]] std::string result_signature() const;
};

struct Interface {
  std::string name;
  std::vector<InterfaceMember> members;
};

/// The D-Bus type of an argument or a result.
[[nodiscard]] const char* signature_of(const Type& type);

/// Whether an argument of the member is a password.
[[nodiscard]] bool has_secret(const Member& member);

/// Whether the class is a collection, whose objects can be read in bulk.
[[nodiscard]] bool is_collection(const Class& of);

[[nodiscard]] Interface class_interface(const Class& of);
/// Of the root object.
[[nodiscard]] Interface automation_interface();
/// Of collections.
[[nodiscard]] Interface rows_interface();
/// Of records.
[[nodiscard]] Interface record_interface();
/// Of the root object.
[[nodiscard]] Interface last_cause_interface();
/// Of clients that answer questions.
[[nodiscard]] Interface lock_prompt_interface();

/// The interface in the XML format of introspection data, as a whole file.
[[nodiscard]] std::string to_xml(const Interface& interface);

}  // namespace tarnwick::automation::dbus
