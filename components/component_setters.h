#pragma once

#include "components/component.h"

namespace tarnwick {

/// The setters of Component, for the code of this library alone. Each marks the component changed
/// when the new value differs, but the one of the row version, which never does.
struct ComponentSetters {
  Component& component;

  /// The first id given is remembered as the row that the component was read from.
  void comp_id(std::int16_t value) { component.set_comp_id(value); }
  void name(Text value) { component.set(component.name_, std::move(value)); }
  void parent_id(std::int16_t value) { component.set(component.parent_id_, value); }
  void priority(std::int16_t value) { component.set(component.priority_, value); }
  void image_index(std::int16_t value) { component.set(component.image_index_, value); }
  void force_display(bool value) { component.set(component.force_display_, value); }
  void maintenance_type(MaintTypeEnum value) { component.set(component.maintenance_type_, value); }
  void security_group(Text value) { component.set(component.security_group_, std::move(value)); }
  void report_code(ReportCodeEnum value) { component.set(component.report_code_, value); }
  void server_name(Text value) { component.set(component.server_name_, std::move(value)); }
  /// Compares before the conversion to upper case: "abc" over "ABC" marks the component changed.
  void meta_id(TextView value) { component.set_meta_id(value); }
  void authorized_role(Text value) { component.set(component.authorized_role_, std::move(value)); }
  void row_version(Text value) { component.row_version_ = std::move(value); }
};

}  // namespace tarnwick
