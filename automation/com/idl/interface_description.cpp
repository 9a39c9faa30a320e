#include "automation/com/idl/interface_description.h"

#include <concepts>
#include <cstddef>
#include <initializer_list>
#include <string_view>
#include <variant>
#include <vector>

#include "automation/com/idl/identities.h"
#include "automation/com/other_interfaces.h"
#include "automation/rows.h"
#include "runtime/error.h"

namespace tarnwick::automation::com {
namespace {

using namespace std::string_view_literals;

constexpr std::size_t kLineWidth = 100;

constexpr std::string_view kBeginning =
    R"(// Made from the tables of the automation room; do not edit. To make it anew:
//   cmake --build build/native --target interface_description
// Names, order of members and identifiers are what clients were built against: members are only
// ever added, and only behind the last.

import "oaidl.idl";
import "ocidl.idl";

[uuid(C6FB57AB-9DF6-4B2C-8254-60FD472EFA72), version(1.0), helpstring("Tarnwick 1.0 security object model")]
library Tarnwick
{
    importlib("stdole2.tlb");
)"sv;

std::string joined(std::initializer_list<std::string_view> parts) {
  std::string text;
  for (const std::string_view part : parts) text += part;
  return text;
}

std::string spelling(const Type& type) {
  switch (type.kind) {
    case Kind::kText:
      return "BSTR";
    case Kind::kBoolean:
      return "VARIANT_BOOL";
    case Kind::kInt16:
      return "short";
    case Kind::kInt32:
      return "long";
    case Kind::kEnumeration:
      return std::string(enumeration_of(type.enumeration).name);
    case Kind::kDate:
      return "DATE";
    case Kind::kObject:
      return joined({"_", class_of(type.class_id).name, "*"});
    case Kind::kKeyOrPosition:
    case Kind::kEmpty:
    case Kind::kValues:
      return "VARIANT";
    case Kind::kCollection:
      return "_Collection*";
    case Kind::kEnumerator:
      return "IUnknown*";
    case Kind::kAnyObject:
      return "IDispatch*";
    case Kind::kNothing:
      break;
  }
  throw Error(ErrorNumber::kInternalError);
}

/// The attribute of a default value. There is none for a date: leaving it out means zero.
std::string default_attribute(const Value& value) {
  const auto attribute = [](std::string_view literal) {
    return joined({", defaultvalue(", literal, ")"});
  };
  return std::visit(
      [&]<class T>(const T& held) -> std::string {
        if constexpr (std::same_as<T, Text>) {
          return attribute(joined({"\"", to_utf8(held), "\""}));
        } else if constexpr (std::same_as<T, bool>) {
          return attribute(held ? "-1" : "0");
        } else if constexpr (std::same_as<T, std::int16_t> || std::same_as<T, std::int32_t>) {
          return attribute(std::to_string(held));
        } else if constexpr (std::same_as<T, Date>) {
          if (held == Date()) return "";
          throw Error(ErrorNumber::kInternalError);
        } else {
          throw Error(ErrorNumber::kInternalError);
        }
      },
      value);
}

std::string parameter(const Argument& argument) {
  const std::string optional =
      argument.default_value ? ", optional" + default_attribute(*argument.default_value) : "";
  return joined({"[in", optional, "] ", spelling(argument.type), " ", argument.name});
}

/// One slot: on one line if it fits, otherwise with a line for each parameter.
std::string slot(std::string_view attributes, std::string_view name,
                 const std::vector<std::string>& parameters) {
  const std::string beginning = joined({"        [", attributes, "] HRESULT ", name, "("});
  std::string line = beginning;
  std::string lines = beginning;
  for (const std::string& each : parameters) {
    const bool is_first = &each == parameters.data();
    line += joined({is_first ? "" : ", ", each});
    lines += joined({is_first ? "" : ",", "\n            ", each});
  }
  return (line.size() + 2 <= kLineWidth ? line : lines) + ");\n";
}

std::string id_attribute(std::int32_t id) {
  return joined({"id(",
                 id == kIdOfDefaultMember ? "DISPID_VALUE"
                 : id == kIdOfEnumerator  ? "DISPID_NEWENUM"
                                          : std::to_string(id),
                 ")"});
}

std::string slots(const Member& member) {
  const bool is_enumerator = member.result.kind == Kind::kEnumerator;
  const std::string id = id_attribute(member.id);
  std::vector<std::string> parameters;
  for (const Argument& argument : member.arguments) parameters.push_back(parameter(argument));
  if (member.result.kind != Kind::kNothing) {
    parameters.push_back("[out, retval] " + spelling(member.result) + "* value");
  }
  if (member.access == Member::Access::kMethod) return slot(id, member.name, parameters);
  std::string text = slot(joined({id, ", propget", is_enumerator ? ", restricted, hidden" : ""}),
                          member.name, parameters);
  if (member.access == Member::Access::kGetLet) {
    text += slot(id + ", propput", member.name, {"[in] " + spelling(member.result) + " value"});
  }
  return text;
}

std::string enumeration(EnumerationId id) {
  const Enumeration& of = enumeration_of(id);
  const EnumerationIdentity identity = identity_of(id);
  std::string text = joined({"\n    typedef [uuid(", identity.uuid, "), helpstring(\"",
                             identity.help, "\")]\n    enum ", of.name, " {\n"});
  for (const Enumerand& each : of.members) {
    const bool is_last = &each == &of.members.back();
    text +=
        joined({"        ", each.name, " = ", std::to_string(each.value), is_last ? "\n" : ",\n"});
  }
  return text += joined({"    } ", of.name, ";\n"});
}

std::string dual_interface(const ClassIdentity& identity, std::string_view name,
                           const std::vector<Member>& members) {
  constexpr std::string_view kAttributes =
      "), dual, oleautomation, nonextensible, hidden,\n"
      "     pointer_default(unique), helpstring(\"";
  std::string text =
      joined({"\n    [object, uuid(", identity.interface_uuid, kAttributes, identity.help,
              "\")]\n    interface _", name, " : IDispatch\n    {\n"});
  for (const Member& member : members) text += slots(member);
  return text + "    };\n";
}

std::string creatable_class(const ClassIdentity& identity, std::string_view name) {
  return joined({"\n    [uuid(", identity.class_uuid, "), helpstring(\"", identity.help,
                 "\")]\n    coclass ", name, "\n    {\n        [default] interface _", name,
                 ";\n    };\n"});
}

}  // namespace

std::string interface_description() {
  std::string text(kBeginning);
  for (const EnumerationId id : {EnumerationId::kUpdateError, EnumerationId::kMaintType,
                                 EnumerationId::kReportCode, EnumerationId::kReportTypes}) {
    text += enumeration(id);
  }
  text += "\n";
  for (const Class& of : classes()) text += joined({"    interface _", of.name, ";\n"});
  text += "    interface _Collection;\n";
  for (const Class& of : classes()) text += dual_interface(identity_of(of.id), of.name, of.members);
  text += dual_interface(kCollectionIdentity, "Collection", members_of<Collection>());
  for (const Class& of : classes()) text += creatable_class(identity_of(of.id), of.name);
  text += "\n    // Beside the object model.\n";
  text += enumeration(EnumerationId::kFailureKind);
  text += dual_interface(kLastCauseIdentity, "LastCause", members_of<FailureCause>());
  text += creatable_class(kLastCauseIdentity, "LastCause");
  text += enumeration(EnumerationId::kLookOutcome);
  text += dual_interface(kRowsIdentity, "Rows", members_of<Rows>());
  text += creatable_class(kRowsIdentity, "Rows");
  return text + "};\n";
}

}  // namespace tarnwick::automation::com
