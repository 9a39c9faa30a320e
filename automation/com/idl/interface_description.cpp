#include "automation/com/idl/interface_description.h"

#include <concepts>
#include <cstddef>
#include <string_view>
#include <variant>
#include <vector>

#include "automation/com/idl/identities.h"
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

)"sv;

// What is of COM alone and in no table.

constexpr std::string_view kCollection =
    R"(
    [object, uuid(320B3851-C2AA-46E4-9C21-0F3AEC346046), dual, oleautomation, nonextensible, hidden,
     pointer_default(unique), helpstring("Objects under their keys, as a member returned them.")]
    interface _Collection : IDispatch
    {
        [id(DISPID_VALUE), propget] HRESULT Item(
            [in] VARIANT vntIndexKey,
            [out, retval] VARIANT* value);
        [id(2), propget] HRESULT Count([out, retval] long* value);
        [id(DISPID_NEWENUM), propget, restricted, hidden] HRESULT NewEnum(
            [out, retval] IUnknown** value);
    };
)"sv;

constexpr std::string_view kLastCause =
    R"(
    // Beside the object model.

    typedef [uuid(DDE155CD-123E-412C-81A9-A8F2BE79FC0E), helpstring("What kind of failure it was.")]
    enum FailureKindEnum {
        None_fk = 0,
        Other_fk = 1,
        LockTimeout_fk = 2,
        Deadlock_fk = 3,
        ConnectionLost_fk = 4,
        DiskFull_fk = 5,
        Timeout_fk = 6,
        Changed_fk = 7,
        Refused_fk = 8
    } FailureKindEnum;

    [object, uuid(A50B127C-4079-423E-A819-E92406846498), dual, oleautomation, nonextensible, hidden,
     pointer_default(unique), helpstring("Why the calling thread's last call that failed did so.")]
    interface _LastCause : IDispatch
    {
        [id(1), propget] HRESULT Kind([out, retval] FailureKindEnum* value);
        [id(2), propget] HRESULT Number([out, retval] long* value);
        [id(3), propget] HRESULT NativeNumber([out, retval] long* value);
        [id(4), propget] HRESULT NativeText([out, retval] BSTR* value);
        [id(5), propget] HRESULT OutcomeUnknown([out, retval] VARIANT_BOOL* value);
        [id(6)] HRESULT Clear();
    };

    [uuid(8C89569A-CE89-4ABD-8055-B45C9B8A5D77), helpstring("Why the calling thread's last call that failed did so.")]
    coclass LastCause
    {
        [default] interface _LastCause;
    };
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
      return "VARIANT";
    case Kind::kCollection:
      return "_Collection*";
    case Kind::kEnumerator:
      return "IUnknown*";
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

std::string slots(const Member& member, std::size_t position) {
  const bool is_enumerator = member.result.kind == Kind::kEnumerator;
  const std::string id = joined({"id(",
                                 member.is_default ? "DISPID_VALUE"
                                 : is_enumerator   ? "DISPID_NEWENUM"
                                                   : std::to_string(position),
                                 ")"});
  const std::string type = spelling(member.result);
  std::vector<std::string> parameters;
  for (const Argument& argument : member.arguments) parameters.push_back(parameter(argument));
  parameters.push_back(joined({"[out, retval] ", type, "* value"}));
  if (member.access == Member::Access::kMethod) return slot(id, member.name, parameters);
  std::string text = slot(joined({id, ", propget", is_enumerator ? ", restricted, hidden" : ""}),
                          member.name, parameters);
  if (member.access == Member::Access::kGetLet) {
    text += slot(id + ", propput", member.name, {joined({"[in] ", type, " value"})});
  }
  return text;
}

std::string enumeration(const EnumerationIdentity& identity) {
  const Enumeration& of = enumeration_of(identity.id);
  std::string text = joined({"\n    typedef [uuid(", identity.uuid, "), helpstring(\"",
                             identity.help, "\")]\n    enum ", of.name, " {\n"});
  for (const Enumerand& each : of.members) {
    const bool is_last = &each == &of.members.back();
    text +=
        joined({"        ", each.name, " = ", std::to_string(each.value), is_last ? "\n" : ",\n"});
  }
  return text += joined({"    } ", of.name, ";\n"});
}

std::string dual_interface(const Class& of, const ClassIdentity& identity) {
  std::string text =
      joined({"\n    [object, uuid(", identity.interface_uuid,
              "), dual, oleautomation, nonextensible, hidden,\n"
              "     pointer_default(unique), helpstring(\"",
              identity.help, "\")]\n    interface _", of.name, " : IDispatch\n    {\n"});
  std::size_t position = 0;
  for (const Member& member : of.members) text += slots(member, ++position);
  return text + "    };\n";
}

std::string creatable_class(const Class& of, const ClassIdentity& identity) {
  return joined({"\n    [uuid(", identity.class_uuid, "), helpstring(\"", identity.help,
                 "\")]\n    coclass ", of.name, "\n    {\n        [default] interface _", of.name,
                 ";\n    };\n"});
}

}  // namespace

std::string interface_description() {
  std::string text(kBeginning);
  text += joined({"[uuid(", kLibraryUuid,
                  "), version(1.0), helpstring(\"Tarnwick 1.0 security object model\")]\n"
                  "library Tarnwick\n{\n    importlib(\"stdole2.tlb\");\n"});
  for (const EnumerationIdentity& identity : kEnumerationIdentities) text += enumeration(identity);
  text += "\n";
  const auto for_each_class = [](auto&& use) {
    for (std::size_t i = 0; i < kClassCount; ++i) {
      use(class_of(static_cast<ClassId>(i)), kClassIdentities[i]);
    }
  };
  for_each_class([&](const Class& of, const ClassIdentity&) {
    text += joined({"    interface _", of.name, ";\n"});
  });
  text += "    interface _Collection;\n";
  for_each_class([&](const Class& of, const ClassIdentity& identity) {
    text += dual_interface(of, identity);
  });
  text += kCollection;
  for_each_class([&](const Class& of, const ClassIdentity& identity) {
    text += creatable_class(of, identity);
  });
  text += kLastCause;
  return text + "};\n";
}

}  // namespace tarnwick::automation::com
