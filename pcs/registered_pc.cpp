#include "pcs/registered_pc.h"

#include "pcs/refresh_pcs.h"
#include "pcs/registered_pc_properties.h"
#include "records/column_values.h"
#include "records/loaded_rows.h"
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

const Text& first_known(const std::unique_ptr<const Text>& loaded, const Text& present) {
  return loaded == nullptr ? present : *loaded;
}

}  // namespace

RegisteredPC::RegisteredPC(SharedState& state) : RecordObject(state) {}

RegisteredPC::RegisteredPC(SharedState& state, std::shared_ptr<const LoadedRows<RegisteredPC>> rows,
                           const std::byte* row)
    : RecordObject(state), values_(std::move(rows), row) {}

RegisteredPC::~RegisteredPC() = default;

RegisteredPC::Values& RegisteredPC::values() { return values_.made_for(*this); }

Text RegisteredPC::mac_number() const { return values_.get<"MACNumber">(&Values::mac_number); }
Text RegisteredPC::computer_id() const { return values_.get<"ComputerID">(&Values::computer_id); }
std::int16_t RegisteredPC::comp_id() const { return values_.get<"CompID">(&Values::comp_id); }
MaintTypeEnum RegisteredPC::maintenance_type() const {
  return values_.get<"MaintenanceType">(&Values::maintenance_type);
}
bool RegisteredPC::active() const { return values_.get<"Active">(&Values::active); }
std::int16_t RegisteredPC::image_index() const {
  return values_.get<"ImageIndex">(&Values::image_index);
}
Text RegisteredPC::last_user() const { return values_.get<"LastUser">(&Values::last_user); }
Date RegisteredPC::last_login() const { return values_.get<"LastLogin">(&Values::last_login); }
std::int32_t RegisteredPC::total_logins() const {
  return values_.get<"TotalLogins">(&Values::total_logins);
}
Text RegisteredPC::activated_by() const {
  return values_.get<"ActivatedBy">(&Values::activated_by);
}
Date RegisteredPC::activate_date() const {
  return values_.get<"ActivateDate">(&Values::activate_date);
}
Text RegisteredPC::deactivated_by() const {
  return values_.get<"DeActivatedBy">(&Values::deactivated_by);
}
Date RegisteredPC::deactivated_date() const {
  return values_.get<"DeActivatedDate">(&Values::deactivated_date);
}
Text RegisteredPC::software_version() const {
  return values_.get<"SoftwareVersion">(&Values::software_version);
}
Text RegisteredPC::soft_lock() const { return values_.get<"SoftLock">(&Values::soft_lock); }
Text RegisteredPC::row_version() const { return values_.get<"RowVersion">(&Values::row_version); }

void RegisteredPC::set_mac_number(Text value) {
  Values& own = values();
  keep_loaded(own.loaded_mac_number, own.mac_number, value);
  set(own.mac_number, std::move(value));
}

void RegisteredPC::set_computer_id(Text value) {
  Values& own = values();
  keep_loaded(own.loaded_computer_id, own.computer_id, value);
  set(own.computer_id, std::move(value));
}

void RegisteredPC::set_comp_id(std::int16_t value) {
  Values& own = values();
  if (own.loaded_comp_id == -1) own.loaded_comp_id = value;
  set(own.comp_id, value);
}

Text RegisteredPC::key() const { return joined_key(mac_number(), computer_id(), comp_id()); }

// Its key, with two separators and a number, is never too short to count.
bool RegisteredPC::initialized() const { return state_.connection != nullptr; }

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
  const Values& own = values();
  const Text id = decimal(own.comp_id);
  return look_at_row(
      state_, {u"RegisteredPC", u"Look"},
      join({u"Select * From DW_SEC_PC Where MACNbr = '", own.mac_number, u"' And ComputerID = '",
            own.computer_id, u"' And CompID = ", id}),
      {Text(Properties<RegisteredPC>::kTable), {own.mac_number, own.computer_id, id}},
      [&](ado::Recordset& row) { return refresh_pc(state_, &row, this); });
}

UpdateErrorEnum RegisteredPC::update() { return write(u"Update", Existing::kWritten); }

UpdateErrorEnum RegisteredPC::insert() { return write(u"Insert", Existing::kRefused); }

UpdateErrorEnum RegisteredPC::write(TextView procedure, Existing existing) {
  return guarded(state_, {u"RegisteredPC", procedure}, Error_ue, [&](UpdateErrorEnum& result) {
    state_.errors.set_message({});
    const Values& own = values();
    if (own.mac_number.empty() || own.computer_id.empty() || own.comp_id < 0) {
      result = MissRequiredField_ue;
      raise_message(state_,
                    u"No MAC Number, ComputerID or ComponentID provided for updating the PC!");
    }
    const Text current_key = key();
    const Text& old_mac_number = first_known(own.loaded_mac_number, own.mac_number);
    const Text& old_computer_id = first_known(own.loaded_computer_id, own.computer_id);
    const Text old_key = joined_key(old_mac_number, old_computer_id, own.loaded_comp_id);
    const Text refused =
        join({u"Unable to update the PC '", current_key, u"' in the DW_Sec_PC table!"});
    write_row(state_, lock_,
              {.key = current_key,
               .table = TableSelector::kPcs,
               .version = own.row_version,
               .changed_opening = u"The data for '",
               .refused_line = refused,
               .write_columns = [&](ado::Recordset& row) { write_columns(row); },
               .existing = existing},
              result);
    if (!equals_ignoring_case(current_key, old_key)) {
      // The PC moved to another key: its row was written there, the old one goes.
      execute_delete(
          state_,
          join({u"Delete from DW_Sec_PC Where MACNbr = '", old_mac_number, u"' AND ComputerID = '",
                old_computer_id, u"' AND CompID = ", decimal(own.loaded_comp_id)}),
          ado::kExecuteNoRecords);
    }
    finish_update();
    result = OK_ue;
  });
}

void RegisteredPC::write_columns(ado::Recordset& row) {
  Values& own = values();
  for_each_written<RegisteredPC>([&](const auto& property) {
    using T = typename std::remove_cvref_t<decltype(property)>::Value;
    if constexpr (std::same_as<T, Date>) {
      // A zero date never clears a column that holds a value.
      if ((this->*property.kGet)().is_zero()) return;
    }
    // Image 0 is never written: it stands for the picture of a PC.
    if (property.name == "ImageIndex" && own.image_index == 0) own.image_index = 10;
    tarnwick::write(row, property, *this);
  });
}

bool RegisteredPC::remove() {
  return succeeds(state_, [&] {
    const Values& own = values();
    if (own.computer_id.empty() || own.mac_number.empty() || own.comp_id < 0) return;
    const Text statement =
        join({u"Delete from dbo.DW_Sec_PC Where MACNbr = '", own.mac_number,
              u"' and ComputerID = '", own.computer_id, u"' and CompID = ", decimal(own.comp_id)});
    if (locked()) release_record();
    execute_delete(state_, statement, ado::kExecuteNoRecords);
    require_set(state_.registered_pcs).remove(key());
  });
}

}  // namespace tarnwick
