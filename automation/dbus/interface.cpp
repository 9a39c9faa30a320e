#include "automation/dbus/interface.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "automation/dbus/names.h"

namespace tarnwick::automation::dbus {
namespace {

using MemberKind = InterfaceMember::Kind;

std::string signature(const std::vector<InterfaceArgument>& list) {
  std::string joined;
  for (const InterfaceArgument& each : list) joined += each.signature;
  return joined;
}

InterfaceMember method(std::string name, std::vector<InterfaceArgument> arguments,
                       std::vector<InterfaceArgument> results) {
  return {std::move(name), MemberKind::kMethod, std::move(arguments), std::move(results)};
}

InterfaceMember to_interface_member(const Member& member) {
  InterfaceMember made{.name = std::string(member.name), .arguments = {}, .results = {}};
  made.secret = has_secret(member);
  if (is_property(member)) {
    made.kind = member.access == Member::Access::kGetLet ? MemberKind::kProperty
                                                         : MemberKind::kReadOnlyProperty;
  }
  for (const Argument& argument : member.arguments) {
    made.arguments.push_back({std::string(argument.name), signature_of(argument.type)});
  }
  made.results.push_back({"result", signature_of(member.result)});
  return made;
}

// What qdbusxml2cpp makes of a type that Qt knows no class for; it refuses one of which it is not
// told. Escaped as XML wants it.
std::string_view qt_type_of(std::string_view signature) {
  if (signature == "aa{sv}") return "QList&lt;QVariantMap&gt;";
  if (signature == "a(ssn)") return "QList&lt;TarnwickPcKey&gt;";
  if (signature == "a(sx)") return "QList&lt;TarnwickReportFile&gt;";
  return {};
}

// Names and signatures have no character that XML would want escaped.
void append_arguments(std::string& xml, const std::vector<InterfaceArgument>& list,
                      std::string_view direction) {
  for (const InterfaceArgument& each : list) {
    xml += "      <arg name=\"" + each.name + "\" type=\"" + each.signature + "\" direction=\"";
    xml += direction;
    xml += "\"/>\n";
  }
}

void append_qt_types(std::string& xml, const std::vector<InterfaceArgument>& results) {
  for (std::size_t i = 0; i < results.size(); ++i) {
    const std::string_view type = qt_type_of(results[i].signature);
    if (type.empty()) continue;
    xml += "      <annotation name=\"org.qtproject.QtDBus.QtTypeName.Out" + std::to_string(i) +
           "\" value=\"";
    xml += type;
    xml += "\"/>\n";
  }
}

void append_member(std::string& xml, const InterfaceMember& member) {
  if (member.kind == MemberKind::kMethod) {
    xml += "    <method name=\"" + member.name + "\">\n";
    append_arguments(xml, member.arguments, "in");
    append_arguments(xml, member.results, "out");
    append_qt_types(xml, member.results);
    xml += "    </method>\n";
    return;
  }
  xml += "    <property name=\"" + member.name + "\" type=\"" + member.result_signature() +
         "\" access=\"";
  xml += member.kind == MemberKind::kProperty ? "readwrite" : "read";
  xml +=
      "\">\n"
      "      <annotation name=\"org.freedesktop.DBus.Property.EmitsChangedSignal\" "
      "value=\"false\"/>\n"
      "    </property>\n";
}

}  // namespace

std::string InterfaceMember::argument_signature() const { return signature(arguments); }

std::string InterfaceMember::result_signature() const { return signature(results); }

const char* signature_of(const Type& type) {
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
      return "ao";
    // Untaken: no member on the bus has any other.
    default:
      throw Error(ErrorNumber::kInternalError);
  }
}

bool has_secret(const Member& member) {
  return std::ranges::any_of(member.arguments, [](const Argument& argument) {
    return argument.name.ends_with("Password");
  });
}

bool is_collection(const Class& of) { return find_member(of, "Item") != nullptr; }

Interface class_interface(const Class& of) {
  Interface interface {
    interface_of(of), {}
  };
  for (const Member& member : of.members) interface.members.push_back(to_interface_member(member));
  return interface;
}

Interface automation_interface() {
  InterfaceMember reserve = method("Reserve", {{"connectString", "s"}}, {{"reserved", "b"}});
  // The string may bear a password.
  reserve.secret = true;
  return {kAutomationInterface,
          // Not "class" and "object": generated programs would not compile.
          {method("CreateObject", {{"className", "s"}}, {{"path", "o"}}),
           method("Release", {{"path", "o"}}, {}), method("SetLockPrompt", {{"prompt", "o"}}, {}),
           reserve, method("Share", {{"on", "b"}}, {}),
           method("FindPCs", {{"computerOrMACNumber", "s"}}, {{"keys", "a(ssn)"}}),
           method("ReportFiles", {}, {{"files", "a(sx)"}})}};
}

Interface rows_interface() {
  return {kRowsInterface,
          {method("GetRows", {{"first", "u"}, {"count", "u"}}, {{"rows", "aa{sv}"}})}};
}

Interface record_interface() {
  return {
      kRecordInterface,
      {method("Insert", {{"sFullReportName", "s"}}, {{"result", "i"}}),
       method("Look", {}, {{"outcome", "i"}, {"held", "b"}, {"stamp", "s"}, {"process", "x"}})}};
}

Interface last_cause_interface() {
  return {kLastCauseInterface,
          {method("GetLastCause", {},
                  {{"kind", "i"},
                   {"number", "i"},
                   {"native", "i"},
                   {"text", "s"},
                   {"outcomeUnknown", "b"}}),
           method("ClearLastCause", {}, {})}};
}

Interface lock_prompt_interface() {
  return {kLockPromptInterface,
          {method("RetryOrCancel", {{"title", "s"}, {"text", "s"}}, {{"retry", "b"}})}};
}

std::string to_xml(const Interface& interface) {
  std::string xml =
      "<!DOCTYPE node PUBLIC \"-//freedesktop//DTD D-BUS Object Introspection 1.0//EN\"\n"
      "  \"http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd\">\n"
      "<node>\n"
      "  <interface name=\"" +
      interface.name + "\">\n";
  for (const InterfaceMember& member : interface.members) append_member(xml, member);
  xml += "  </interface>\n</node>\n";
  return xml;
}

}  // namespace tarnwick::automation::dbus
