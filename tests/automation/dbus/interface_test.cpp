#include "automation/dbus/interface.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarnwick::automation::dbus {
namespace {

TEST(Interface, OfAClassHasPropertiesWhereNothingIsAskedForAndFewObjectsAreReturned) {
  const Class& component = class_of(ClassId::kComponent);
  EXPECT_TRUE(is_property(*find_member(component, "Name")));
  EXPECT_TRUE(is_property(*find_member(component, "Reports")));
  EXPECT_FALSE(is_property(*find_member(component, "PCs")));
  EXPECT_FALSE(is_property(*find_member(component, "Refresh")));
  const Class& reports = class_of(ClassId::kReports);
  EXPECT_TRUE(is_property(*find_member(reports, "Count")));
  EXPECT_FALSE(is_property(*find_member(reports, "Item")));
  EXPECT_FALSE(is_property(*find_member(reports, "NewEnum")));
}

TEST(Interface, MarksCallsWithAPasswordAsSecretAndNoOthers) {
  for (std::size_t i = 0; i < kClassCount; ++i) {
    const Interface interface = class_interface(class_of(static_cast<ClassId>(i)));
    for (const InterfaceMember& member : interface.members) {
      EXPECT_EQ(member.secret, member.name == "SetConnection") << member.name;
    }
  }
}

TEST(Interface, BecomesAFileForCodeGenerators) {
  const Interface interface {
    "org.example.Thing", {
      {"Do", InterfaceMember::Kind::kMethod, {{"first", "s"}, {"second", "n"}}, {{"result", "b"}}},
          {"Seen", InterfaceMember::Kind::kReadOnlyProperty, {}, {{"result", "i"}}}, {
        "Kept", InterfaceMember::Kind::kProperty, {}, {
          { "result", "d" }
        }
      }
    }
  };
  EXPECT_EQ(to_xml(interface),
            R"(<!DOCTYPE node PUBLIC "-//freedesktop//DTD D-BUS Object Introspection 1.0//EN"
  "http://www.freedesktop.org/standards/dbus/1.0/introspect.dtd">
<node>
  <interface name="org.example.Thing">
    <method name="Do">
      <arg name="first" type="s" direction="in"/>
      <arg name="second" type="n" direction="in"/>
      <arg name="result" type="b" direction="out"/>
    </method>
    <property name="Seen" type="i" access="read">
      <annotation name="org.freedesktop.DBus.Property.EmitsChangedSignal" value="false"/>
    </property>
    <property name="Kept" type="d" access="readwrite">
      <annotation name="org.freedesktop.DBus.Property.EmitsChangedSignal" value="false"/>
    </property>
  </interface>
</node>
)");
}

TEST(Interface, TellsQtsGeneratorOfTypesThatItDoesNotKnow) {
  const std::string xml = to_xml(
      {"org.example.Thing",
       {{"Rows", InterfaceMember::Kind::kMethod, {}, {{"count", "u"}, {"rows", "aa{sv}"}}}}});
  EXPECT_THAT(xml, testing::HasSubstr(R"(
      <arg name="count" type="u" direction="out"/>
      <arg name="rows" type="aa{sv}" direction="out"/>
      <annotation name="org.qtproject.QtDBus.QtTypeName.Out1" value="QList&lt;QVariantMap&gt;"/>
    </method>)"));
}

}  // namespace
}  // namespace tarnwick::automation::dbus
