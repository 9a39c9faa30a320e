#pragma once

#include <cstdint>
#include <memory>

#include "records/record_object.h"
#include "records/row_values.h"
#include "state/enums.h"

namespace tarnwick {

/// One row of DW_SEC_PC: a PC as it uses one component, with its activation and logins. A PC that
/// was loaded is no more than its row, as the engine packed it, until something in it is changed.
class RegisteredPC final : public RecordObject {
 public:
  explicit RegisteredPC(SharedState& state);
  /// The PC of a plain row of `rows`, as it is loaded: unchanged.
  RegisteredPC(SharedState& state, std::shared_ptr<const LoadedRows<RegisteredPC>> rows,
               const std::byte* row);
  ~RegisteredPC();

  [[nodiscard]] Text mac_number() const;
  void set_mac_number(Text value);
  [[nodiscard]] Text computer_id() const;
  void set_computer_id(Text value);
  /// -1 in a new object.
  [[nodiscard]] std::int16_t comp_id() const;
  void set_comp_id(std::int16_t value);
  [[nodiscard]] MaintTypeEnum maintenance_type() const;
  void set_maintenance_type(MaintTypeEnum value) { set(values().maintenance_type, value); }
  [[nodiscard]] bool active() const;
  void set_active(bool value) { set(values().active, value); }
  /// 10 in a new object; 0 is written as 10.
  [[nodiscard]] std::int16_t image_index() const;
  void set_image_index(std::int16_t value) { set(values().image_index, value); }
  [[nodiscard]] Text last_user() const;
  void set_last_user(Text value) { set(values().last_user, std::move(value)); }
  /// The zero date: never.
  [[nodiscard]] Date last_login() const;
  void set_last_login(Date value) { set(values().last_login, value); }
  [[nodiscard]] std::int32_t total_logins() const;
  void set_total_logins(std::int32_t value) { set(values().total_logins, value); }
  [[nodiscard]] Text activated_by() const;
  void set_activated_by(Text value) { set(values().activated_by, std::move(value)); }
  [[nodiscard]] Date activate_date() const;
  void set_activate_date(Date value) { set(values().activate_date, value); }
  [[nodiscard]] Text deactivated_by() const;
  void set_deactivated_by(Text value) { set(values().deactivated_by, std::move(value)); }
  [[nodiscard]] Date deactivated_date() const;
  void set_deactivated_date(Date value) { set(values().deactivated_date, value); }
  [[nodiscard]] Text software_version() const;
  void set_software_version(Text value) { set(values().software_version, std::move(value)); }
  /// Who maintains the row, since when; as it was when the object was loaded.
  [[nodiscard]] Text soft_lock() const;
  /// The text form of the row version that the object was loaded with; "" when it was not loaded.
  [[nodiscard]] Text row_version() const;

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

  /// Takes its values out of the rows that it was loaded with, which then may go.
  void part_from_rows() { static_cast<void>(values()); }

 private:
  friend struct Properties<RegisteredPC>;
  friend struct PropertyAccess;

  struct Values {
    Text mac_number;
    Text computer_id;
    std::int16_t comp_id = -1;
    MaintTypeEnum maintenance_type = PCReg_mt;
    bool active = false;
    std::int16_t image_index = 10;
    Text last_user;
    Date last_login;
    std::int32_t total_logins = 0;
    Text activated_by;
    Date activate_date;
    Text deactivated_by;
    Date deactivated_date;
    Text soft_lock;
    Text row_version;
    Text software_version;

    // The key under which the row was first known: the first values that are not empty. A text that
    // was never changed since is not kept twice; in a large register that counts.
    std::unique_ptr<const Text> loaded_mac_number;
    std::unique_ptr<const Text> loaded_computer_id;
    std::int16_t loaded_comp_id = -1;
  };

  /// The values, made of the row if need be: what is changed has to be kept.
  Values& values();

  // The row version never marks the record changed.
  void set_soft_lock(Text value) { set(values().soft_lock, std::move(value)); }
  void set_row_version(Text value) { values().row_version = std::move(value); }

  UpdateErrorEnum write(TextView procedure, Existing existing);
  void write_columns(ado::Recordset& row);

  RowValues<RegisteredPC, Values> values_;
};

}  // namespace tarnwick
