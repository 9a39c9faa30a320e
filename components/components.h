#pragma once

#include <cstdint>
#include <memory>

#include "components/component.h"
#include "state/collection_object.h"

namespace tarnwick {

/// All components, in one list for the whole process; their keys are "C7", not "7".
class Components final : public CollectionObject<Component, &SharedState::components> {
 public:
  explicit Components(SharedState& state) : CollectionObject(state) {}

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

  /// The components with this MetaID, in any letter case; none for the empty text.
  [[nodiscard]] std::shared_ptr<Store<Component>> find_meta_id(TextView meta_id) const;
};

}  // namespace tarnwick
