#include "pcs/registered_pc.h"

#include "pcs/refresh_pcs.h"
#include "pcs/registered_pc_properties.h"
#include "records/column_values.h"
#include "records/recordset_access.h"
#include "records/update_protocol.h"
#include "runtime/case_mapping.h"
#include "state/guard.h"
#include "state/store.h"

namespace tarnwick {
namespace {

Text joined_key(TextView mac_number, TextView computer_id, std::int16_t comp_id) {
  const TextView separator(&kKeySeparator, 1);
  return join({mac_number, separator, computer_id, separator, decimal(comp_id)});
}

// Keeps `present` as the loaded value when `next` is going to replace it.
void keep_loaded(std::unique_ptr<const Text>& loaded, const Text& present, const Text& next) {
  if (loaded == nullptr && !present.empty() && present != next) {
    loaded = std::make_unique<const Text>(present);
  }
}

}  // namespace

RegisteredPC::RegisteredPC(SharedState& state) : RecordObject(state) {}

void RegisteredPC::set_mac_number(Text value) {
  keep_loaded(loaded_mac_number_, mac_number_, value);
  set(mac_number_, std::move(value));
}

void RegisteredPC::set_computer_id(Text value) {
  keep_loaded(loaded_computer_id_, computer_id_, value);
  set(computer_id_, std::move(value));
}

void RegisteredPC::set_comp_id(std::int16_t value) {
  if (loaded_comp_id_ == -1) loaded_comp_id_ = value;
  set(comp_id_, value);
}

Text RegisteredPC::key() const { return joined_key(mac_number_, computer_id_, comp_id_); }

const Text& RegisteredPC::loaded_mac_number() const {
  return loaded_mac_number_ == nullptr ? mac_number_ : *loaded_mac_number_;
}

const Text& RegisteredPC::loaded_computer_id() const {
  return loaded_computer_id_ == nullptr ? computer_id_ : *loaded_computer_id_;
}

Text RegisteredPC::loaded_key() const {
  return joined_key(loaded_mac_number(), loaded_computer_id(), loaded_comp_id_);
}

bool RegisteredPC::initialized() const { return key().size() >= 3 && state_.connection != nullptr; }

bool RegisteredPC::refresh() {
  return guarded(state_, {u"RegisteredPC", u"Refresh"}, false, [&](bool& result) {
    // The whole table, not this PC's row: the object takes over whatever comes first.
    const auto rows = get_recordset(state_, kPcList, ado::LockType::kOptimistic);
    if (rows == nullptr) return;
    rows->move_first();
    result = refresh_pc(state_, rows.get(), this);
  });
}

bool RegisteredPC::lock_record() {
  return guarded(state_, {u"RegisteredPC", u"LockRecord"}, false, [&](bool& result) {
    result = tarnwick::lock_record(lock_, key(), TableSelector::kPcs, [&](ado::Recordset& row) {
      return refresh_pc(state_, &row, this);
    });
  });
}

Look RegisteredPC::look() {
  const Text id = decimal(comp_id_);
  return look_at_row(state_, {u"RegisteredPC", u"Look"},
                     join({u"Select * From DW_SEC_PC Where MACNbr = '", mac_number_,
                           u"' And ComputerID = '", computer_id_, u"' And CompID = ", id}),
                     {Text(Properties<RegisteredPC>::kTable), {mac_number_, computer_id_, id}},
                     [&](ado::Recordset& row) { return refresh_pc(state_, &row, this); });
}

UpdateErrorEnum RegisteredPC::update() { return write(u"Update", Existing::kWritten); }

UpdateErrorEnum RegisteredPC::insert() { return write(u"Insert", Existing::kRefused); }

UpdateErrorEnum RegisteredPC::write(TextView procedure, Existing existing) {
  return guarded(state_, {u"RegisteredPC", procedure}, Error_ue, [&](UpdateErrorEnum& result) {
    state_.errors.set_message({});
    if (mac_number_.empty() || computer_id_.empty() || comp_id_ < 0) {
      result = MissRequiredField_ue;
      raise_message(state_,
                    u"No MAC Number, ComputerID or ComponentID provided for updating the PC!");
    }
    const Text current_key = key();
    const Text old_key = loaded_key();
    const Text refused =
        join({u"Unable to update the PC '", current_key, u"' in the DW_Sec_PC table!"});
    write_row(state_, lock_,
              {.key = current_key,
               .table = TableSelector::kPcs,
               .version = row_version_,
               .changed_opening = u"The data for '",
               .refused_line = refused,
               .write_columns = [&](ado::Recordset& row) { write_columns(row); },
               .existing = existing},
              result);
    if (!equals_ignoring_case(current_key, old_key) && old_key.size() > 2) {
      // The PC moved to another key: its row was written there, the old one goes.
      execute_delete(state_,
                     join({u"Delete from DW_Sec_PC Where MACNbr = '", loaded_mac_number(),
                           u"' AND ComputerID = '", loaded_computer_id(), u"' AND CompID = ",
                           decimal(loaded_comp_id_)}),
                     ado::kExecuteNoRecords);
    }
    finish_update();
    result = OK_ue;
  });
}

void RegisteredPC::write_columns(ado::Recordset& row) {
  for_each_written<RegisteredPC>([&](const auto& property) {
    using T = typename std::remove_cvref_t<decltype(property)>::Value;
    if constexpr (std::same_as<T, Date>) {
      // A zero date never clears a column that holds a value.
      if ((this->*property.kGet)().is_zero()) return;
    }
    // Image 0 is never written: it stands for the picture of a PC.
    if (property.name == "ImageIndex" && image_index_ == 0) image_index_ = 10;
    tarnwick::write(row, property, *this);
  });
}

bool RegisteredPC::remove() {
  if (computer_id_.empty() || mac_number_.empty() || comp_id_ < 0) return true;
  return succeeds(state_, [&] {
    const Text statement =
        join({u"Delete from dbo.DW_Sec_PC Where MACNbr = '", mac_number_, u"' and ComputerID = '",
              computer_id_, u"' and CompID = ", decimal(comp_id_)});
    if (locked()) release_record();
    execute_delete(state_, statement, ado::kExecuteNoRecords);
    require_set(state_.registered_pcs).remove(key());
  });
}

}  // namespace tarnwick
