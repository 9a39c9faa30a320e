#pragma once

#include "automation/binding.h"
#include "components/component_properties.h"

namespace tarnwick::automation {

inline Empty reports_of(const Component&) { return {}; }

template <>
struct MembersOf<Components> {
  static constexpr std::string_view kName = "Components";
  static constexpr std::tuple kAll{method<&Components::refresh>("Refresh"),
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
                                                                    {"sMetaID", TextView()},
                                                                    {"sAuthRole", TextView()}}),
                                   method<&Components::add_comp_object>("AddCompObject", {"oComp"}),
                                   method<&Components::exists>("Exists", {"sCompID"}),
                                   method<&Components::find_meta_id>("FindMetaID", {"sMetaID"}),
                                   item<&Components::item>(),
                                   get<&Components::count>("Count"),
                                   get<&Components::new_enum>("NewEnum"),
                                   get<&Components::changed>("Changed"),
                                   get<&Components::initialized>("Initialized"),
                                   get<&Components::last_error_msg>("LastErrorMsg"),
                                   get<&Components::last_error_number>("LastErrorNumber")};
};

template <>
struct MembersOf<Component> {
  static constexpr std::string_view kName = "Component";
  static constexpr auto kAll = members_with_properties<Component>(
      get<&Component::key>("Key"), get<&Component::changed>("Changed"),
      get<&Component::initialized>("Initialized"), get<&reports_of>("Reports"),
      get<&Component::last_error_msg>("LastErrorMsg"),
      get<&Component::last_error_number>("LastErrorNumber"), get<&Component::pcs>("PCs"),
      method<&Component::refresh>("Refresh"), method<&Component::lock_record>("LockRecord"),
      get<&Component::locked>("Locked"), method<&Component::release_record>("ReleaseRecord"),
      method<&Component::update>("Update"), method<&Component::remove>("Delete"));
};

}  // namespace tarnwick::automation
