#pragma once

#include <cstdint>
#include <memory>

#include "records/record_object.h"
#include "state/enums.h"

namespace tarnwick {

/// One row of DW_SEC_COMP: an entry in the tree of product components. Read-only to clients; rows
/// are maintained through the methods.
class Component final : public RecordObject {
 public:
  /// A new, empty component: comp_id() -1, image_index() 1.
  explicit Component(SharedState& state);

  /// -1 in a new object.
  [[nodiscard]] std::int16_t comp_id() const { return comp_id_; }
  [[nodiscard]] const Text& name() const { return name_; }
  /// comp_id of the parent in the tree; 0 at the top.
  [[nodiscard]] std::int16_t parent_id() const { return parent_id_; }
  /// Order among the siblings.
  [[nodiscard]] std::int16_t priority() const { return priority_; }
  [[nodiscard]] std::int16_t image_index() const { return image_index_; }
  [[nodiscard]] bool force_display() const { return force_display_; }
  [[nodiscard]] MaintTypeEnum maintenance_type() const { return maintenance_type_; }
  [[nodiscard]] const Text& security_group() const { return security_group_; }
  [[nodiscard]] ReportCodeEnum report_code() const { return report_code_; }
  [[nodiscard]] const Text& server_name() const { return server_name_; }
  /// Always in upper case.
  [[nodiscard]] const Text& meta_id() const { return meta_id_; }
  [[nodiscard]] const Text& authorized_role() const { return authorized_role_; }
  /// The text form of the row version that the object was loaded with; "" when it was not loaded.
  [[nodiscard]] const Text& row_version() const { return row_version_; }
  /// Always "": no column is read into it.
  [[nodiscard]] const Text& soft_lock() const { return soft_lock_; }
  /// Always Empty: no reports are attached to a component.
  [[nodiscard]] Variant reports() const { return Empty{}; }

  /// "C" and comp_id in decimal (C7); "" while comp_id is negative.
  [[nodiscard]] Text key() const;
  /// comp_id is 0 or more and the shared connection is set.
  [[nodiscard]] bool initialized() const;

  /// Reads the register of PCs anew and returns those of this component, in its order, under their
  /// keys: the same objects that the register holds. Never null; errors are ignored.
  [[nodiscard]] std::shared_ptr<Store<RegisteredPC>> pcs();

  /// Always False: the statement filters behind its ordering clause, which no database accepts; the
  /// account is in the error state.
  bool refresh();

  /// Opens the row for maintenance and reloads the object from it. True when it is (or was) locked.
  bool lock_record();
  /// Gives the row back unwritten. True also when nothing was locked.
  bool release_record() { return release(true); }

  /// Loads the object from its row as it was committed, without opening it for maintenance; see
  /// look_at_row.
  Look look();

  /// Writes the object to its row, or inserts it, if nobody changed the row since it was loaded.
  /// Takes the lock itself if none is held. MetaID and AuthorizedRole are not written. A renumbered
  /// component is inserted under its new id and its old row deleted. Returns OK_ue; Error_ue;
  /// MissRequiredField_ue for a negative comp_id; RecordChanged_ue (the row stays locked).
  UpdateErrorEnum update();

  /// As update, but a row that is there already is refused: RecordChanged_ue, nothing is written,
  /// and the row stays locked.
  UpdateErrorEnum insert();

  /// Deletes the row, then removes the entry at *position* comp_id from the shared list, whichever
  /// component that is. False when the statement or the removal fails; nothing is recorded.
  bool remove();

 private:
  friend struct Properties<Component>;
  friend struct PropertyAccess;

  void set_comp_id(std::int16_t value);
  void set_meta_id(TextView value);
  UpdateErrorEnum write(TextView procedure, Existing existing);
  void write_columns(ado::Recordset& row);

  std::int16_t comp_id_ = -1;
  Text name_;
  std::int16_t parent_id_ = 0;
  std::int16_t priority_ = 0;
  std::int16_t image_index_ = 1;
  bool force_display_ = false;
  MaintTypeEnum maintenance_type_ = NotDefined_mt;
  Text security_group_;
  ReportCodeEnum report_code_ = None_rc;
  Text server_name_;
  Text meta_id_;
  Text authorized_role_;
  Text row_version_;
  Text soft_lock_;

  // The first id that the object was given: the row that it was read from.
  std::int16_t row_comp_id_ = -1;
  std::shared_ptr<Store<RegisteredPC>> pcs_;
};

}  // namespace tarnwick
