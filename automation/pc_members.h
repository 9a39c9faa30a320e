#pragma once

#include "automation/binding.h"
#include "pcs/registered_pc_properties.h"

namespace tarnwick::automation {

inline std::shared_ptr<RegisteredPC> add_pc(
    RegisteredPCs& pcs, TextView mac_number, std::int16_t comp_id, TextView computer_id,
    TextView activated_by, Date activate_date, bool active, MaintTypeEnum maintenance_type,
    std::int16_t image_index, TextView last_user, Date last_login, std::int32_t total_logins,
    TextView deactivated_by, Date deactivated_date, TextView soft_lock, TextView software_version) {
  return pcs.add({mac_number, comp_id, computer_id, activated_by, activate_date, active,
                  maintenance_type, image_index, last_user, last_login, total_logins,
                  deactivated_by, deactivated_date, soft_lock, software_version});
}

template <>
struct MembersOf<RegisteredPCs> {
  static constexpr std::string_view kName = "RegisteredPCs";
  static constexpr NewRegisteredPC kDefaults{};
  static constexpr std::tuple kAll{
      method<&RegisteredPCs::refresh>("Refresh"),
      method<&add_pc>("Add", {"sMACNumber",
                              "iCompID",
                              "sComputerID",
                              "sActivatedBy",
                              "datActivateDate",
                              {"bActive", kDefaults.active},
                              {"eMaintenanceType", std::int32_t{kDefaults.maintenance_type}},
                              {"iImageIndex", kDefaults.image_index},
                              {"sLastUser", kDefaults.last_user},
                              {"datLastLogin", kDefaults.last_login},
                              {"lTotalLogins", kDefaults.total_logins},
                              {"sDeActivatedBy", kDefaults.deactivated_by},
                              {"datDeActivatedDate", kDefaults.deactivated_date},
                              {"sSoftLock", kDefaults.soft_lock},
                              {"sSoftwareVersion", kDefaults.software_version}}),
      method<&RegisteredPCs::add_pc_object>("AddPCObject", {"oPC"}),
      method<&RegisteredPCs::exists>("Exists", {"sRegPC"}),
      item<&RegisteredPCs::item>(),
      get<&RegisteredPCs::count>("Count"),
      get<&RegisteredPCs::new_enum>("NewEnum"),
      get<&RegisteredPCs::changed>("Changed"),
      get<&RegisteredPCs::initialized>("Initialized"),
      get<&RegisteredPCs::last_error_msg>("LastErrorMsg"),
      get<&RegisteredPCs::last_error_number>("LastErrorNumber")};
};

template <>
struct MembersOf<RegisteredPC> {
  using PC = RegisteredPC;
  static constexpr std::string_view kName = "RegisteredPC";
  static constexpr auto kAll = members_with_properties<RegisteredPC>(
      get<&PC::key>("Key"), get<&PC::changed>("Changed"), get<&PC::initialized>("Initialized"),
      get<&PC::locked>("Locked"), method<&PC::lock_record>("LockRecord"),
      method<&PC::release_record>("ReleaseRecord"), method<&PC::refresh>("Refresh"),
      method<&PC::update>("Update"), method<&PC::remove>("Delete"),
      get<&PC::last_error_msg>("LastErrorMsg"), get<&PC::last_error_number>("LastErrorNumber"));
};

}  // namespace tarnwick::automation
