#include "components/components.h"

#include "components/component_properties.h"
#include "components/refresh_component.h"
#include "records/recordset_access.h"
#include "runtime/case_mapping.h"
#include "state/guard.h"

namespace tarnwick {

bool Components::refresh() {
  return guarded(state_, {u"Components", u"Refresh"}, false, [&](bool& result) {
    const auto rows = get_recordset(state_, kComponentList, ado::LockType::kOptimistic);
    if (rows == nullptr) {
      result = true;
      return;
    }
    state_.components = std::make_shared<Store<Component>>();
    for (; !rows->eof(); rows->move_next()) {
      auto component = std::make_shared<Component>(state_);
      if (!refresh_component(state_, rows.get(), component.get())) continue;
      Text key = component->key();
      state_.components->add(std::move(key), std::move(component));
    }
    result = true;
  });
}

std::shared_ptr<Component> Components::add(std::int16_t comp_id, TextView component_name,
                                           std::int16_t parent_id, std::int16_t priority,
                                           std::int16_t image_index, bool force_display,
                                           std::int16_t maintenance_type,
                                           ReportCodeEnum report_code, TextView server_name,
                                           TextView sec_grp_id, TextView meta_id,
                                           TextView auth_role) {
  using Result = std::shared_ptr<Component>;
  return guarded(state_, {u"Components", u"Add"}, Result(), [&](Result& result) {
    if (comp_id < 0) {
      raise_message(state_, u"No ComponentID provided, unable to add component to collection!");
    }
    auto component = std::make_shared<Component>(state_);
    set_property<Component, "CompID">(*component, comp_id);
    set_property<Component, "Name">(*component, Text(component_name));
    set_property<Component, "ParentID">(*component, parent_id);
    set_property<Component, "Priority">(*component, priority);
    set_property<Component, "ImageIndex">(*component, image_index);
    set_property<Component, "ForceDisplay">(*component, force_display);
    set_property<Component, "MaintenanceType">(*component, MaintTypeEnum{maintenance_type});
    set_property<Component, "ReportCode">(*component, report_code);
    set_property<Component, "ServerName">(*component, Text(server_name));
    set_property<Component, "SecurityGroup">(*component, Text(sec_grp_id));
    set_property<Component, "MetaID">(*component, Text(meta_id));
    set_property<Component, "AuthorizedRole">(*component, Text(auth_role));
    require_set(state_.components).add(component->key(), component);
    result = std::move(component);
  });
}

bool Components::add_comp_object(const std::shared_ptr<Component>& component) {
  return add_object({u"Components", u"AddCompObject"}, component, [&] {
    return join({u"Component '", decimal(component->comp_id()),
                 u"' is already on file. Unable to add to the components collection!"});
  });
}

std::shared_ptr<Store<Component>> Components::find_meta_id(TextView meta_id) const {
  using Result = std::shared_ptr<Store<Component>>;
  return guarded(state_, {u"Components", u"FindMetaID"}, Result(), [&](Result& found) {
    found = std::make_shared<Store<Component>>();
    if (meta_id.empty()) return;
    const Text wanted = upper(meta_id);
    for (const auto& component : require_set(state_.components)) {
      if (component->meta_id() == wanted) found->add(component->key(), component);
    }
  });
}

}  // namespace tarnwick
