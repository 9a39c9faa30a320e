#pragma once

#include <cstdint>
#include <memory>

#include "components/component.h"
#include "state/store.h"

namespace tarnwick {

/// All components, in one list for the whole process. Creating a Components object replaces the
/// list by an empty one, and the end of any Components object discards it, for all others too: a
/// client uses the one that Server hands out. Not thread-safe; `state` must outlive it.
class Components final {
 public:
  explicit Components(SharedState& state);
  ~Components();
  Components(const Components&) = delete;
  Components& operator=(const Components&) = delete;

  [[nodiscard]] const Text& last_error_msg() const { return state_.errors.message(); }
  [[nodiscard]] std::int32_t last_error_number() const { return state_.errors.number(); }

  /// Reads the table anew, by ascending id. True also when the table cannot be read: the list stays
  /// as it was, and the account is in the error state. False when the loading stopped (two rows
  /// with one key); rows that cannot be loaded are left out.
  bool refresh();

  /// Makes a component in memory and puts it in the list. Null for a negative id and for one that
  /// is in the list. Nothing is written before its `update`, which then compares no row version.
  std::shared_ptr<Component> add(std::int16_t comp_id, TextView component_name,
                                 std::int16_t parent_id, std::int16_t priority,
                                 std::int16_t image_index, bool force_display,
                                 std::int16_t maintenance_type, ReportCodeEnum report_code,
                                 TextView server_name, TextView sec_grp_id, TextView meta_id = {},
                                 TextView auth_role = {});

  /// Puts `component` in the list under its key. False when the key is there already (the message
  /// says so), or for null (error 91).
  bool add_comp_object(const std::shared_ptr<Component>& component);

  /// Whether the list holds the *key* `comp_id`: "C7", not "7".
  [[nodiscard]] bool exists(TextView comp_id) const;

  /// The components with this MetaID, in any letter case; none for the empty text.
  [[nodiscard]] std::shared_ptr<Store<Component>> find_meta_id(TextView meta_id) const;

  /// The entry under a key or at a position from 1; null where there is none.
  [[nodiscard]] std::shared_ptr<Component> item(const Variant& key_or_position) const;

  /// 0 without a list.
  [[nodiscard]] std::int32_t count() const;

  /// Walks the list in order; an empty list when there is none.
  [[nodiscard]] StoreEnumerator<Component> new_enum() const;

  [[nodiscard]] bool changed() const { return any_changed(state_.components); }
  /// The list exists and holds an entry, and the shared connection is open.
  [[nodiscard]] bool initialized() const { return usable(state_, state_.components); }

 private:
  SharedState& state_;
};

}  // namespace tarnwick
