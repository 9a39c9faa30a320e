#include "components/component.h"

#include "components/component_properties.h"
#include "components/refresh_component.h"
#include "components/report_code.h"
#include "pcs/refresh_pcs.h"
#include "records/column_values.h"
#include "records/recordset_access.h"
#include "records/update_protocol.h"
#include "runtime/case_mapping.h"
#include "state/guard.h"
#include "state/store.h"

namespace tarnwick {

Component::Component(SharedState& state) : RecordObject(state) {}

void Component::set_comp_id(std::int16_t value) {
  if (row_comp_id_ == -1) row_comp_id_ = value;
  set(comp_id_, value);
}

void Component::set_meta_id(TextView value) {
  if (meta_id_ != value) changed_ = true;
  meta_id_ = upper(value);
}

Text Component::key() const {
  if (comp_id_ < 0) return {};
  return join({u"C", decimal(comp_id_)});
}

std::shared_ptr<Store<RegisteredPC>> Component::pcs() {
  auto mine = std::make_shared<Store<RegisteredPC>>();
  // The view is taken over a register that is read anew each time; a register that cannot be read
  // gives an empty view.
  if (refresh_pcs(state_) && state_.registered_pcs != nullptr) {
    for (const auto& pc : *state_.registered_pcs) {
      if (pc->comp_id() == comp_id_) quietly([&] { mine->add(pc->key(), pc); });
    }
  }
  pcs_ = std::move(mine);
  return pcs_;
}

bool Component::initialized() const { return comp_id_ >= 0 && state_.connection != nullptr; }

bool Component::refresh() {
  return guarded(state_, {u"Component", u"Refresh"}, false, [&](bool& result) {
    const auto rows =
        get_recordset(state_, join({kComponentList, u" Where CompID = ", decimal(comp_id_)}),
                      ado::LockType::kOptimistic);
    if (rows == nullptr) return;
    rows->move_first();
    result = refresh_component(state_, rows.get(), this);
  });
}

bool Component::lock_record() {
  return guarded(state_, {u"Component", u"LockRecord"}, false, [&](bool& result) {
    result = tarnwick::lock_record(
        lock_, decimal(comp_id_), TableSelector::kComponents,
        [&](ado::Recordset& row) { return refresh_component(state_, &row, this); });
  });
}

Look Component::look() {
  const Text id = decimal(comp_id_);
  return look_at_row(state_, {u"Component", u"Look"},
                     join({u"Select * From DW_SEC_COMP Where CompID = ", id}),
                     {Text(Properties<Component>::kTable), {id}},
                     [&](ado::Recordset& row) { return refresh_component(state_, &row, this); });
}

UpdateErrorEnum Component::update() { return write(u"Update", Existing::kWritten); }

UpdateErrorEnum Component::insert() { return write(u"Insert", Existing::kRefused); }

UpdateErrorEnum Component::write(TextView procedure, Existing existing) {
  return guarded(state_, {u"Component", procedure}, Error_ue, [&](UpdateErrorEnum& result) {
    state_.errors.set_message({});
    if (comp_id_ < 0) {
      result = MissRequiredField_ue;
      raise_message(state_, u"No ComponentID provided for updating the component!");
    }
    const Text id = decimal(comp_id_);
    const Text refused =
        join({u"Unable to update the Component '", id, u"' in the DW_Sec_Comp table!"});
    write_row(state_, lock_,
              {.key = id,
               .table = TableSelector::kComponents,
               .version = row_version_,
               .changed_opening = u"The data for component '",
               .refused_line = refused,
               .write_columns = [&](ado::Recordset& row) { write_columns(row); },
               .existing = existing},
              result);
    if (row_comp_id_ != comp_id_) {
      // The component was renumbered and stands under its new id now. The old id stays remembered:
      // a further update deletes there again and finds nothing.
      execute_delete(state_,
                     join({u"Delete from DW_Sec_Comp Where CompID = ", decimal(row_comp_id_)}),
                     ado::kExecuteNoRecords);
    }
    finish_update();
    result = OK_ue;
  });
}

void Component::write_columns(ado::Recordset& row) {
  // Image 0 is never written: it stands for the first picture.
  if (image_index_ == 0) image_index_ = 1;
  for_each_written<Component>([&](const auto& property) { tarnwick::write(row, property, *this); });
}

bool Component::remove() {
  return succeeds(state_, [&] {
    const Text statement =
        join({u"Delete from dbo.DW_Sec_Comp Where CompID = ", decimal(comp_id_)});
    if (locked()) release_record();
    execute_delete(state_, statement, ado::kExecuteNoRecords);
    // The number counts as a position, not as an id: the entry that stands there is removed.
    require_set(state_.components).remove(std::int64_t{comp_id_});
  });
}

}  // namespace tarnwick
