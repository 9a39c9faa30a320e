#pragma once

#include "components/component.h"
#include "records/property.h"

namespace tarnwick {

/// The properties of Component and the columns of DW_SEC_COMP. MetaID and AuthorizedRole are read
/// but never written; SoftLock is not even read.
template <>
struct Properties<Component> {
  using C = Component;
  static constexpr TextView kTable = u"DW_SEC_COMP";

  using enum Access;
  using enum Form;
  // clang-format off
  static constexpr std::tuple kAll{
      Property<&C::comp_id, &C::set_comp_id>{
          "CompID", 1, kRead, {u"CompID", 1}, {u"CompID", 1}, "its number", kPartOfKey, kAsText},
      Property<&C::name, &C::name_>{
          "Name", 2, kRead, {u"CompName", 2, kNullIsEmpty}, {u"CompName", 2},
          "what the tree shows"},
      Property<&C::parent_id, &C::parent_id_>{
          "ParentID", 3, kRead, {u"ParentID", 3, kNullIsEmpty}, {u"ParentID", 3},
          "id of the component above, 0 at the top"},
      Property<&C::priority, &C::priority_>{
          "Priority", 4, kRead, {u"Priority", 4, kNullIsEmpty}, {u"Priority", 4},
          "order among the siblings"},
      // A component without a picture shows the first one.
      Property<&C::image_index, &C::image_index_>{
          "ImageIndex", 5, kRead, {u"ImageIndex", 5, null_is(1)}, {u"ImageIndex", 5},
          "picture in the tree; 0 is written as 1"},
      Property<&C::force_display, &C::force_display_>{
          "ForceDisplay", 6, kRead, {u"ForceDisplay", 6}, {u"ForceDisplay", 6},
          "show it even where it would be hidden"},
      Property<&C::maintenance_type, &C::maintenance_type_>{
          "MaintenanceType", 7, kRead, {u"MaintType", 7}, {u"MaintType", 7},
          "the kind of maintenance that it stands for"},
      Property<&C::security_group, &C::security_group_>{
          "SecurityGroup", 8, kRead, {u"SecGrpID", 8, kNullIsEmpty}, {u"SecGrpID", 8},
          "the group that may use it"},
      Property<&C::report_code, &C::report_code_>{
          "ReportCode", 9, kRead, {u"RptCode", 9, kNullIsEmpty}, {u"RptCode", 9},
          "the kind of report that it produces"},
      Property<&C::server_name, &C::server_name_>{
          "ServerName", 10, kRead, {u"Server", 10, kNullIsEmpty}, {u"Server", 10},
          "the server that it runs against"},
      Property<&C::meta_id, &C::set_meta_id>{
          "MetaID", 11, kRead, {u"MetaID", 12, kNullIsEmpty}, {},
          "its name for programs, in upper case"},
      Property<&C::authorized_role, &C::authorized_role_>{
          "AuthorizedRole", 12, kRead, {u"AuthorizedRole", 13, kNullIsEmpty}, {},
          "the role that may use it"},
      Property<&C::row_version, &C::row_version_>{
          "RowVersion", 13, kRead, {u"RowVersion", 11}, {},
          "the version of its row", kNoKey, kRowVersion},
      Property<&C::soft_lock, nullptr>{
          "SoftLock", 14, kRead, {u"SoftLock"}, {}, "always empty"},
  };
  // clang-format on

  static constexpr std::array<TextView, 0> kMoreColumns{};
};

}  // namespace tarnwick
