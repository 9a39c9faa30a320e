#include "automation/binding.h"
#include "automation/classes.h"

namespace tarnwick::automation {
namespace {

Empty reports(const Component&) { return {}; }

}  // namespace

Class make_components_class() {
  return make_class<Components>(
      "Components", {
                        method<&Components::refresh>("Refresh"),
                        method<&Components::add>("Add", {"iCompID",
                                                         "sComponentName",
                                                         "iParentID",
                                                         "iPriority",
                                                         "iImageIndex",
                                                         "bForceDisplay",
                                                         "iMaintenanceType",
                                                         "eReportCode",
                                                         "sServerName",
                                                         "sSecGrpID",
                                                         {"sMetaID", Text()},
                                                         {"sAuthRole", Text()}}),
                        method<&Components::add_comp_object>("AddCompObject", {"oComp"}),
                        method<&Components::exists>("Exists", {"sCompID"}),
                        method<&Components::find_meta_id>("FindMetaID", {"sMetaID"}),
                        item<&Components::item>(),
                        get<&Components::count>("Count"),
                        get<&Components::new_enum>("NewEnum"),
                        get<&Components::changed>("Changed"),
                        get<&Components::initialized>("Initialized"),
                        get<&Components::last_error_msg>("LastErrorMsg"),
                        get<&Components::last_error_number>("LastErrorNumber"),
                    });
}

Class make_component_class() {
  return make_class<Component>("Component",
                               {
                                   get<&Component::comp_id>("CompID"),
                                   get<&Component::name>("Name"),
                                   get<&Component::parent_id>("ParentID"),
                                   get<&Component::priority>("Priority"),
                                   get<&Component::image_index>("ImageIndex"),
                                   get<&Component::force_display>("ForceDisplay"),
                                   get<&Component::maintenance_type>("MaintenanceType"),
                                   get<&Component::security_group>("SecurityGroup"),
                                   get<&Component::report_code>("ReportCode"),
                                   get<&Component::server_name>("ServerName"),
                                   get<&Component::meta_id>("MetaID"),
                                   get<&Component::authorized_role>("AuthorizedRole"),
                                   get<&Component::row_version>("RowVersion"),
                                   get<&Component::soft_lock>("SoftLock"),
                                   get<&Component::key>("Key"),
                                   get<&Component::changed>("Changed"),
                                   get<&Component::initialized>("Initialized"),
                                   get<&reports>("Reports"),
                                   get<&Component::last_error_msg>("LastErrorMsg"),
                                   get<&Component::last_error_number>("LastErrorNumber"),
                                   get<&Component::pcs>("PCs"),
                                   method<&Component::refresh>("Refresh"),
                                   method<&Component::lock_record>("LockRecord"),
                                   get<&Component::locked>("Locked"),
                                   method<&Component::release_record>("ReleaseRecord"),
                                   method<&Component::update>("Update"),
                                   method<&Component::remove>("Delete"),
                               });
}

}  // namespace tarnwick::automation
