#include "automation/dbus/signature.h"

namespace tarnwick::automation::dbus {

using automation::Kind;
using automation::Member;

const char* signature_of(const automation::Type& type) {
  switch (type.kind) {
    case Kind::kText:
      return "s";
    case Kind::kBoolean:
      return "b";
    case Kind::kInt16:
      return "n";
    case Kind::kInt32:
    case Kind::kEnumeration:
      return "i";
    case Kind::kDate:
      return "d";
    case Kind::kObject:
      return "o";
    case Kind::kKeyOrPosition:
    case Kind::kEmpty:
      return "v";
    case Kind::kCollection:
    case Kind::kEnumerator:
      break;
  }
  return "ao";
}

std::string argument_signature(const Member& member) {
  std::string signature;
  for (const automation::Argument& argument : member.arguments) {
    signature += signature_of(argument.type);
  }
  return signature;
}

bool is_property(const Member& member) {
  return member.access != Member::Access::kMethod && member.arguments.empty() &&
         member.result.kind != Kind::kCollection && member.result.kind != Kind::kEnumerator;
}

bool is_collection(const automation::Class& of) {
  return automation::find_member(of, "Item") != nullptr;
}

}  // namespace tarnwick::automation::dbus
