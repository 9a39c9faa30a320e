#include "pcs/registered_pcs.h"

#include "pcs/refresh_pcs.h"
#include "pcs/registered_pc_properties.h"
#include "state/guard.h"

namespace tarnwick {

bool RegisteredPCs::refresh() { return refresh_pcs(state_); }

std::shared_ptr<RegisteredPC> RegisteredPCs::add(const NewRegisteredPC& values) {
  using Result = std::shared_ptr<RegisteredPC>;
  return guarded(state_, {u"RegisteredPCs", u"Add"}, Result(), [&](Result& result) {
    auto pc = std::make_shared<RegisteredPC>(state_);
    pc->set_mac_number(Text(values.mac_number));
    pc->set_comp_id(values.comp_id);
    pc->set_computer_id(Text(values.computer_id));
    pc->set_maintenance_type(values.maintenance_type);
    pc->set_active(values.active);
    if (values.image_index >= 0) pc->set_image_index(values.image_index);
    pc->set_last_user(Text(values.last_user));
    pc->set_last_login(values.last_login);
    pc->set_total_logins(values.total_logins);
    pc->set_activated_by(Text(values.activated_by));
    pc->set_activate_date(values.activate_date);
    pc->set_deactivated_by(Text(values.deactivated_by));
    pc->set_deactivated_date(values.deactivated_date);
    set_property<RegisteredPC, "SoftLock">(*pc, Text(values.soft_lock));
    pc->set_software_version(Text(values.software_version));
    require_set(state_.registered_pcs).add(pc->key(), pc);
    result = std::move(pc);
  });
}

bool RegisteredPCs::add_pc_object(const std::shared_ptr<RegisteredPC>& pc) {
  return add_object({u"RegisteredPCs", u"AddPCObject"}, pc, [&] {
    return join({u"PC '", pc->key(), u"' is already on file. Unable to add to the PC collection!"});
  });
}

std::shared_ptr<RegisteredPC> RegisteredPCs::item(const Variant& key_or_position) const {
  return entry_at(state_.registered_pcs, key_or_position);
}

std::int32_t RegisteredPCs::count() const {
  return static_cast<std::int32_t>(require_set(state_.registered_pcs).size());
}

StoreEnumerator<RegisteredPC> RegisteredPCs::new_enum() const {
  return StoreEnumerator<RegisteredPC>(state_.registered_pcs);
}

}  // namespace tarnwick
