#pragma once

#include <cstdint>
#include <memory>

#include "pcs/registered_pc.h"
#include "state/collection_object.h"

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

/// The register of all PCs, in one store for the whole process.
class RegisteredPCs final : public CollectionObject<RegisteredPC, &SharedState::registered_pcs> {
 public:
  explicit RegisteredPCs(SharedState& state) : CollectionObject(state) {}

  /// Reads the table anew; see refresh_pcs.
  bool refresh();

  /// Makes a PC in memory and puts it in the store. Null when its key is there already. Nothing is
  /// written before its `update`, which then compares no row version.
  std::shared_ptr<RegisteredPC> add(const NewRegisteredPC& values);

  /// Puts `pc` in the store under its key. False when the key is there already (the message says
  /// so), or for null (error 91).
  bool add_pc_object(const std::shared_ptr<RegisteredPC>& pc);

  // These three, unlike those of the other collections, pass straight to the store, and their
  // errors to the client: error 91 without a store.

  /// The entry under a key or at a position from 1. Throws Error 5 for an unknown key, 9 for a
  /// position out of range, 13 for a value that is neither.
  [[nodiscard]] std::shared_ptr<RegisteredPC> item(const Variant& key_or_position) const;
  [[nodiscard]] std::int32_t count() const;
  [[nodiscard]] StoreEnumerator<RegisteredPC> new_enum() const;
};

}  // namespace tarnwick
