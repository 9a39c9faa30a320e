#pragma once

#include <cstdint>
#include <memory>

#include "pcs/registered_pc.h"
#include "state/store.h"

namespace tarnwick {

/// What RegisteredPCs::add takes; the defaults stand for arguments that were left out.
struct NewRegisteredPC {
  TextView mac_number;
  std::int16_t comp_id = 0;
  TextView computer_id;
  TextView activated_by;
  Date activate_date;
  bool active = true;
  MaintTypeEnum maintenance_type = PCReg_mt;
  /// A negative one leaves the new PC's own.
  std::int16_t image_index = -1;
  TextView last_user = {};
  Date last_login = {};
  std::int32_t total_logins = 0;
  TextView deactivated_by = {};
  Date deactivated_date = {};
  TextView soft_lock = {};
  TextView software_version = {};
};

/// The register of all PCs, in one store for the whole process. Creating a RegisteredPCs object
/// replaces the store by an empty one, and the end of any RegisteredPCs object drops it, for all
/// others too: a client uses the one that Server hands out. Not thread-safe; `state` must outlive
/// it.
class RegisteredPCs final {
 public:
  explicit RegisteredPCs(SharedState& state);
  ~RegisteredPCs();
  RegisteredPCs(const RegisteredPCs&) = delete;
  RegisteredPCs& operator=(const RegisteredPCs&) = delete;

  [[nodiscard]] const Text& last_error_msg() const { return state_.errors.message(); }
  [[nodiscard]] std::int32_t last_error_number() const { return state_.errors.number(); }

  /// Reads the table anew; see refresh_pcs.
  bool refresh();

  /// Makes a PC in memory and puts it in the store. Null when its key is there already. Nothing is
  /// written before its `update`, which then compares no row version.
  std::shared_ptr<RegisteredPC> add(const NewRegisteredPC& values);

  /// Puts `pc` in the store under its key. False when the key is there already (the message says
  /// so), or for null (error 91).
  bool add_pc_object(const std::shared_ptr<RegisteredPC>& pc);

  /// Whether the store holds this key, in any letter case.
  [[nodiscard]] bool exists(TextView reg_pc) const;

  // These three pass straight to the store, and their errors to the client: error 91 without a
  // store.

  /// The entry under a key or at a position from 1. Throws Error 5 for an unknown key, 9 for a
  /// position out of range, 13 for a value that is neither.
  [[nodiscard]] std::shared_ptr<RegisteredPC> item(const Variant& key_or_position) const;
  [[nodiscard]] std::int32_t count() const;
  [[nodiscard]] StoreEnumerator<RegisteredPC> new_enum() const;

  [[nodiscard]] bool changed() const { return any_changed(state_.registered_pcs); }
  /// The store exists and holds an entry, and the shared connection is open.
  [[nodiscard]] bool initialized() const { return usable(state_, state_.registered_pcs); }

 private:
  SharedState& state_;
};

}  // namespace tarnwick
