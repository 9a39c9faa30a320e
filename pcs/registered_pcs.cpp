#include "pcs/registered_pcs.h"

#include "pcs/refresh_pcs.h"
#include "pcs/registered_pc_properties.h"
#include "state/guard.h"

namespace tarnwick {

RegisteredPCs::RegisteredPCs(SharedState& state) : state_(state) {
  state_.registered_pcs = std::make_shared<Store<RegisteredPC>>();
}

RegisteredPCs::~RegisteredPCs() { state_.registered_pcs.reset(); }

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
    require_store(state_.registered_pcs).add(pc->key(), pc);
    result = std::move(pc);
  });
}

bool RegisteredPCs::add_pc_object(const std::shared_ptr<RegisteredPC>& pc) {
  return guarded(state_, {u"RegisteredPCs", u"AddPCObject"}, false, [&](bool& result) {
    if (pc == nullptr) throw Error(ErrorNumber::kObjectNotSet);
    Text key = pc->key();
    if (!holds(state_.registered_pcs, key)) {
      require_store(state_.registered_pcs).add(std::move(key), pc);
      result = true;
      return;
    }
    state_.errors.set_message(
        join({u"PC '", key, u"' is already on file. Unable to add to the PC collection!"}));
  });
}

bool RegisteredPCs::exists(TextView reg_pc) const { return holds(state_.registered_pcs, reg_pc); }

std::shared_ptr<RegisteredPC> RegisteredPCs::item(const Variant& key_or_position) const {
  return entry_at(state_.registered_pcs, key_or_position);
}

std::int32_t RegisteredPCs::count() const {
  return static_cast<std::int32_t>(require_store(state_.registered_pcs).size());
}

StoreEnumerator<RegisteredPC> RegisteredPCs::new_enum() const {
  return StoreEnumerator<RegisteredPC>(state_.registered_pcs);
}

}  // namespace tarnwick
