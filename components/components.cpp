#include "components/components.h"

#include "components/component_list.h"
#include "components/component_setters.h"
#include "components/refresh_component.h"
#include "records/recordset_access.h"
#include "runtime/case_mapping.h"
#include "state/guard.h"

namespace tarnwick {

Components::Components(SharedState& state) : state_(state) {
  state_.components = std::make_shared<Store<Component>>();
}

Components::~Components() { state_.components.reset(); }

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
    ComponentSetters set{*component};
    set.comp_id(comp_id);
    set.name(Text(component_name));
    set.parent_id(parent_id);
    set.priority(priority);
    set.image_index(image_index);
    set.force_display(force_display);
    set.maintenance_type(MaintTypeEnum{maintenance_type});
    set.report_code(report_code);
    set.server_name(Text(server_name));
    set.security_group(Text(sec_grp_id));
    set.meta_id(meta_id);
    set.authorized_role(Text(auth_role));
    require_store(state_.components).add(component->key(), component);
    result = std::move(component);
  });
}

bool Components::add_comp_object(const std::shared_ptr<Component>& component) {
  return guarded(state_, {u"Components", u"AddCompObject"}, false, [&](bool& result) {
    if (component == nullptr) throw Error(ErrorNumber::kObjectNotSet);
    Text key = component->key();
    if (!holds(state_.components, key)) {
      require_store(state_.components).add(std::move(key), component);
      result = true;
      return;
    }
    state_.errors.set_message(
        join({u"Component '", decimal(component->comp_id()),
              u"' is already on file. Unable to add to the components collection!"}));
  });
}

bool Components::exists(TextView comp_id) const { return holds(state_.components, comp_id); }

std::shared_ptr<Store<Component>> Components::find_meta_id(TextView meta_id) const {
  using Result = std::shared_ptr<Store<Component>>;
  return guarded(state_, {u"Components", u"FindMetaID"}, Result(), [&](Result& found) {
    found = std::make_shared<Store<Component>>();
    if (meta_id.empty()) return;
    const Text wanted = upper(meta_id);
    for (const auto& component : require_store(state_.components)) {
      if (component->meta_id() == wanted) found->add(component->key(), component);
    }
  });
}

std::shared_ptr<Component> Components::item(const Variant& key_or_position) const {
  std::shared_ptr<Component> found;
  quietly([&] { found = entry_at(state_.components, key_or_position); });
  return found;
}

std::int32_t Components::count() const {
  return state_.components == nullptr ? 0 : static_cast<std::int32_t>(state_.components->size());
}

StoreEnumerator<Component> Components::new_enum() const {
  return StoreEnumerator<Component>(
      state_.components == nullptr ? std::make_shared<Store<Component>>() : state_.components);
}

}  // namespace tarnwick
