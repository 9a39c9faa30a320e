#pragma once

#include <cstdint>
#include <memory>

#include "records/record_object.h"
#include "state/enums.h"

namespace tarnwick {

/// One row of DW_SEC_PC: a PC as it uses one component, with its activation and logins.
class RegisteredPC final : public RecordObject {
 public:
  explicit RegisteredPC(SharedState& state);

  [[nodiscard]] const Text& mac_number() const { return mac_number_; }
  void set_mac_number(Text value);
  [[nodiscard]] const Text& computer_id() const { return computer_id_; }
  void set_computer_id(Text value);
  /// -1 in a new object.
  [[nodiscard]] std::int16_t comp_id() const { return comp_id_; }
  void set_comp_id(std::int16_t value);
  [[nodiscard]] MaintTypeEnum maintenance_type() const { return maintenance_type_; }
  void set_maintenance_type(MaintTypeEnum value) { set(maintenance_type_, value); }
  [[nodiscard]] bool active() const { return active_; }
  void set_active(bool value) { set(active_, value); }
  /// 10 in a new object; 0 is written as 10.
  [[nodiscard]] std::int16_t image_index() const { return image_index_; }
  void set_image_index(std::int16_t value) { set(image_index_, value); }
  [[nodiscard]] const Text& last_user() const { return last_user_; }
  void set_last_user(Text value) { set(last_user_, std::move(value)); }
  /// The zero date: never.
  [[nodiscard]] Date last_login() const { return last_login_; }
  void set_last_login(Date value) { set(last_login_, value); }
  [[nodiscard]] std::int32_t total_logins() const { return total_logins_; }
  void set_total_logins(std::int32_t value) { set(total_logins_, value); }
  [[nodiscard]] const Text& activated_by() const { return activated_by_; }
  void set_activated_by(Text value) { set(activated_by_, std::move(value)); }
  [[nodiscard]] Date activate_date() const { return activate_date_; }
  void set_activate_date(Date value) { set(activate_date_, value); }
  [[nodiscard]] const Text& deactivated_by() const { return deactivated_by_; }
  void set_deactivated_by(Text value) { set(deactivated_by_, std::move(value)); }
  [[nodiscard]] Date deactivated_date() const { return deactivated_date_; }
  void set_deactivated_date(Date value) { set(deactivated_date_, value); }
  [[nodiscard]] const Text& software_version() const { return software_version_; }
  void set_software_version(Text value) { set(software_version_, std::move(value)); }
  /// Who maintains the row, since when; as it was when the object was loaded.
  [[nodiscard]] const Text& soft_lock() const { return soft_lock_; }
  /// The text form of the row version that the object was loaded with; "" when it was not loaded.
  [[nodiscard]] const Text& row_version() const { return row_version_; }

  /// MAC number, computer id and comp_id in decimal, joined by U+00FE.
  [[nodiscard]] Text key() const;
  /// The key has at least 3 characters and the shared connection is set.
  [[nodiscard]] bool initialized() const;

  /// Loads the *first row of the table* into this object, whichever PC that is. False when the
  /// table is empty or cannot be read.
  bool refresh();

  /// Opens the row for maintenance and reloads the object from it. True when it is (or was) locked.
  bool lock_record();
  /// Gives the row back unwritten. True also when nothing was locked.
  bool release_record() { return release(true); }

  /// Loads the object from its row as it was committed, without opening it for maintenance; see
  /// look_at_row.
  Look look();

  /// Writes the object to its row, or inserts it, if nobody changed the row since it was loaded;
  /// takes the lock itself if none is held. A PC whose key changed is written under the new key and
  /// its old row deleted. A zero date leaves its column as it is. Neither the row version nor the
  /// remembered key moves on: load the PC anew before the next change. Returns OK_ue; Error_ue;
  /// MissRequiredField_ue without a MAC number, computer id or comp_id; RecordChanged_ue (the row
  /// stays locked).
  UpdateErrorEnum update();

  /// As update, but a row that is there already is refused: RecordChanged_ue, nothing is written,
  /// and the row stays locked.
  UpdateErrorEnum insert();

  /// Deletes the row and takes the entry under this key out of the register. False when either
  /// fails; nothing is recorded. Does nothing, and returns True, when a part of the key is missing.
  bool remove();

 private:
  friend struct Properties<RegisteredPC>;
  friend struct PropertyAccess;

  [[nodiscard]] const Text& loaded_mac_number() const;
  [[nodiscard]] const Text& loaded_computer_id() const;
  [[nodiscard]] Text loaded_key() const;
  UpdateErrorEnum write(TextView procedure, Existing existing);
  void write_columns(ado::Recordset& row);

  Text mac_number_;
  Text computer_id_;
  std::int16_t comp_id_ = -1;
  MaintTypeEnum maintenance_type_ = PCReg_mt;
  bool active_ = false;
  std::int16_t image_index_ = 10;
  Text last_user_;
  Date last_login_;
  std::int32_t total_logins_ = 0;
  Text activated_by_;
  Date activate_date_;
  Text deactivated_by_;
  Date deactivated_date_;
  Text soft_lock_;
  Text row_version_;
  Text software_version_;

  // The key under which the row was first known: the first values that are not empty. A text that
  // was never changed since is not kept twice; in a large register that counts.
  std::unique_ptr<const Text> loaded_mac_number_;
  std::unique_ptr<const Text> loaded_computer_id_;
  std::int16_t loaded_comp_id_ = -1;
};

}  // namespace tarnwick
