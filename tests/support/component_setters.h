#pragma once

#include "components/component_properties.h"

namespace tarnwick::test_support {

/// Sets the properties of a component, which clients can only read.
struct ComponentSetters {
  Component& component;

  void comp_id(std::int16_t value) { set_property<Component, "CompID">(component, value); }
  void name(Text value) { set_property<Component, "Name">(component, std::move(value)); }
  void parent_id(std::int16_t value) { set_property<Component, "ParentID">(component, value); }
  void priority(std::int16_t value) { set_property<Component, "Priority">(component, value); }
  void image_index(std::int16_t value) { set_property<Component, "ImageIndex">(component, value); }
  void force_display(bool value) { set_property<Component, "ForceDisplay">(component, value); }
  void maintenance_type(MaintTypeEnum value) {
    set_property<Component, "MaintenanceType">(component, value);
  }
  void security_group(Text value) {
    set_property<Component, "SecurityGroup">(component, std::move(value));
  }
  void report_code(ReportCodeEnum value) {
    set_property<Component, "ReportCode">(component, value);
  }
  void server_name(Text value) {
    set_property<Component, "ServerName">(component, std::move(value));
  }
  void meta_id(TextView value) { set_property<Component, "MetaID">(component, Text(value)); }
  void authorized_role(Text value) {
    set_property<Component, "AuthorizedRole">(component, std::move(value));
  }
  void row_version(Text value) {
    set_property<Component, "RowVersion">(component, std::move(value));
  }
};

}  // namespace tarnwick::test_support
