#include "automation/binding.h"
#include "automation/classes.h"

namespace tarnwick::automation {
namespace {

std::shared_ptr<RegisteredPC> add(RegisteredPCs& pcs, TextView mac_number, std::int16_t comp_id,
                                  TextView computer_id, TextView activated_by, Date activate_date,
                                  bool active, MaintTypeEnum maintenance_type,
                                  std::int16_t image_index, TextView last_user, Date last_login,
                                  std::int32_t total_logins, TextView deactivated_by,
                                  Date deactivated_date, TextView soft_lock,
                                  TextView software_version) {
  return pcs.add({mac_number, comp_id, computer_id, activated_by, activate_date, active,
                  maintenance_type, image_index, last_user, last_login, total_logins,
                  deactivated_by, deactivated_date, soft_lock, software_version});
}

}  // namespace

Class make_registered_pcs_class() {
  const NewRegisteredPC defaults;
  return make_class<RegisteredPCs>(
      "RegisteredPCs",
      {
          method<&RegisteredPCs::refresh>("Refresh"),
          method<&add>("Add", {"sMACNumber",
                               "iCompID",
                               "sComputerID",
                               "sActivatedBy",
                               "datActivateDate",
                               {"bActive", defaults.active},
                               {"eMaintenanceType", std::int32_t{defaults.maintenance_type}},
                               {"iImageIndex", defaults.image_index},
                               {"sLastUser", Text(defaults.last_user)},
                               {"datLastLogin", defaults.last_login},
                               {"lTotalLogins", defaults.total_logins},
                               {"sDeActivatedBy", Text(defaults.deactivated_by)},
                               {"datDeActivatedDate", defaults.deactivated_date},
                               {"sSoftLock", Text(defaults.soft_lock)},
                               {"sSoftwareVersion", Text(defaults.software_version)}}),
          method<&RegisteredPCs::add_pc_object>("AddPCObject", {"oPC"}),
          method<&RegisteredPCs::exists>("Exists", {"sRegPC"}),
          item<&RegisteredPCs::item>(),
          get<&RegisteredPCs::count>("Count"),
          get<&RegisteredPCs::new_enum>("NewEnum"),
          get<&RegisteredPCs::changed>("Changed"),
          get<&RegisteredPCs::initialized>("Initialized"),
          get<&RegisteredPCs::last_error_msg>("LastErrorMsg"),
          get<&RegisteredPCs::last_error_number>("LastErrorNumber"),
      });
}

Class make_registered_pc_class() {
  using PC = RegisteredPC;
  return make_class<PC>(
      "RegisteredPC",
      {
          get_let<&PC::mac_number, &PC::set_mac_number>("MACNumber"),
          get_let<&PC::computer_id, &PC::set_computer_id>("ComputerID"),
          get_let<&PC::comp_id, &PC::set_comp_id>("CompID"),
          get_let<&PC::maintenance_type, &PC::set_maintenance_type>("MaintenanceType"),
          get_let<&PC::active, &PC::set_active>("Active"),
          get_let<&PC::image_index, &PC::set_image_index>("ImageIndex"),
          get_let<&PC::last_user, &PC::set_last_user>("LastUser"),
          get_let<&PC::last_login, &PC::set_last_login>("LastLogin"),
          get_let<&PC::total_logins, &PC::set_total_logins>("TotalLogins"),
          get_let<&PC::activated_by, &PC::set_activated_by>("ActivatedBy"),
          get_let<&PC::activate_date, &PC::set_activate_date>("ActivateDate"),
          get_let<&PC::deactivated_by, &PC::set_deactivated_by>("DeActivatedBy"),
          get_let<&PC::deactivated_date, &PC::set_deactivated_date>("DeActivatedDate"),
          get<&PC::soft_lock>("SoftLock"),
          get<&PC::row_version>("RowVersion"),
          get_let<&PC::software_version, &PC::set_software_version>("SoftwareVersion"),
          get<&PC::key>("Key"),
          get<&PC::changed>("Changed"),
          get<&PC::initialized>("Initialized"),
          get<&PC::locked>("Locked"),
          method<&PC::lock_record>("LockRecord"),
          method<&PC::release_record>("ReleaseRecord"),
          method<&PC::refresh>("Refresh"),
          method<&PC::update>("Update"),
          method<&PC::remove>("Delete"),
          get<&PC::last_error_msg>("LastErrorMsg"),
          get<&PC::last_error_number>("LastErrorNumber"),
      });
}

}  // namespace tarnwick::automation
