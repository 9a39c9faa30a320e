#pragma once

#include "pcs/registered_pc.h"
#include "records/property.h"

namespace tarnwick {

/// The properties of RegisteredPC and the columns of DW_SEC_PC. Some columns are written in another
/// letter case than they are read in; traces show it.
template <>
struct Properties<RegisteredPC> {
  using PC = RegisteredPC;
  static constexpr TextView kTable = u"DW_SEC_PC";

  using enum Access;
  using enum Form;
  // clang-format off
  static constexpr std::tuple kAll{
      Property<&PC::mac_number, &PC::set_mac_number>{
          "MACNumber", 1, kReadWrite, {u"MACNbr", 1}, {u"MACNbr", 1},
          "the number of its network adapter", kPartOfKey},
      Property<&PC::computer_id, &PC::set_computer_id>{
          "ComputerID", 2, kReadWrite, {u"ComputerID", 2}, {u"ComputerID", 2},
          "its name in the network", kPartOfKey},
      Property<&PC::comp_id, &PC::set_comp_id>{
          "CompID", 3, kReadWrite, {u"CompID", 3}, {u"Compid", 3},
          "id of the component that it uses", kPartOfKey},
      Property<&PC::maintenance_type, &PC::set_maintenance_type>{
          "MaintenanceType", 4, kReadWrite, {u"MaintType", 4}, {u"MaintType", 4},
          "the kind of maintenance that it stands for"},
      Property<&PC::active, &PC::set_active>{
          "Active", 5, kReadWrite, {u"ActiveStatus", 5}, {u"ActiveStatus", 5},
          "whether it may use the component"},
      Property<&PC::image_index, &PC::set_image_index>{
          "ImageIndex", 6, kReadWrite, {u"ImageIndex", 6}, {u"ImageIndex", 6},
          "picture; 0 is written as 10"},
      Property<&PC::last_user, &PC::set_last_user>{
          "LastUser", 7, kReadWrite, {u"LastUser", 7, kNullIsEmpty}, {u"LastUser", 7},
          "who logged in last"},
      Property<&PC::last_login, &PC::set_last_login>{
          "LastLogin", 8, kReadWrite, {u"LastLogin", 8, kNullIsEmpty}, {u"LastLogin", 8},
          "when somebody logged in last"},
      Property<&PC::total_logins, &PC::set_total_logins>{
          "TotalLogins", 9, kReadWrite, {u"TotalLogins", 9, kNullIsEmpty}, {u"TotalLogins", 9},
          "how often somebody logged in"},
      Property<&PC::activated_by, &PC::set_activated_by>{
          "ActivatedBy", 10, kReadWrite, {u"ActivatedBy", 10, kNullIsEmpty}, {u"ActivatedBy", 10},
          "who let it in"},
      Property<&PC::activate_date, &PC::set_activate_date>{
          "ActivateDate", 11, kReadWrite, {u"ActivateDate", 11, kNullIsEmpty},
          {u"Activatedate", 11}, "when it was let in"},
      Property<&PC::deactivated_by, &PC::set_deactivated_by>{
          "DeActivatedBy", 12, kReadWrite, {u"DeactivatedBy", 12, kNullIsEmpty},
          {u"DeactivatedBy", 12}, "who shut it out"},
      Property<&PC::deactivated_date, &PC::set_deactivated_date>{
          "DeActivatedDate", 13, kReadWrite, {u"DeactivateDate", 13, kNullIsEmpty},
          {u"Deactivatedate", 13}, "when it was shut out"},
      Property<&PC::soft_lock, &PC::set_soft_lock>{
          "SoftLock", 14, kRead, {u"SoftLock", 14, kNullIsEmpty}, {},
          "who maintains it, since when"},
      Property<&PC::row_version, &PC::set_row_version>{
          "RowVersion", 15, kRead, {u"RowVersion", 15}, {},
          "the version of its row", kNoKey, kRowVersion},
      Property<&PC::software_version, &PC::set_software_version>{
          "SoftwareVersion", 16, kReadWrite, {u"SoftwareVersion", 16, kNullIsEmpty},
          {u"SoftwareVersion", 14}, "the version that it last ran"},
  };
  // clang-format on

  static constexpr std::array<TextView, 0> kMoreColumns{};
};

}  // namespace tarnwick
