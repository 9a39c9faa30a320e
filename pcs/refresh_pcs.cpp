#include "pcs/refresh_pcs.h"

#include "pcs/pc_list.h"
#include "pcs/registered_pc_setters.h"
#include "records/column_values.h"
#include "records/recordset_access.h"
#include "records/row_version.h"
#include "state/guard.h"

namespace tarnwick {
namespace {

void load_register(SharedState& state, ado::Recordset& rows) {
  state.registered_pcs = std::make_shared<Store<RegisteredPC>>();
  for (; !rows.eof(); rows.move_next()) {
    auto pc = std::make_shared<RegisteredPC>(state);
    // A row whose load failed is listed all the same, with the values that it got.
    refresh_pc(state, &rows, pc.get());
    Text key = pc->key();
    state.registered_pcs->add(std::move(key), std::move(pc));
  }
}

}  // namespace

bool refresh_pc(SharedState& state, ado::Recordset* rows, RegisteredPC* pc) {
  return guarded(state, {u"General", u"RefreshPC"}, false, [&](bool& result) {
    if (rows == nullptr) raise_message(state, u"Invalid recordset passed to RefreshPC routine!");
    if (pc == nullptr) raise_message(state, u"Invalid PC passed to RefreshPC routine!");
    ado::Recordset& row = *rows;
    RegisteredPCSetters set{*pc};
    pc->set_mac_number(to_text(row.field(u"MACNbr").value()));
    pc->set_computer_id(to_text(row.field(u"ComputerID").value()));
    pc->set_comp_id(to_int16(row.field(u"CompID").value()));
    pc->set_maintenance_type(MaintTypeEnum{to_int32(row.field(u"MaintType").value())});
    pc->set_active(to_bool(row.field(u"ActiveStatus").value()));
    pc->set_image_index(to_int16(row.field(u"ImageIndex").value()));
    pc->set_last_user(text_or_empty(row, u"LastUser"));
    pc->set_last_login(date_or_zero(row, u"LastLogin"));
    pc->set_total_logins(int32_or(row, u"TotalLogins", 0));
    pc->set_activated_by(text_or_empty(row, u"ActivatedBy"));
    pc->set_activate_date(date_or_zero(row, u"ActivateDate"));
    pc->set_deactivated_by(text_or_empty(row, u"DeactivatedBy"));
    pc->set_deactivated_date(date_or_zero(row, u"DeactivateDate"));
    set.soft_lock(text_or_empty(row, u"SoftLock"));
    set.row_version(row_version_text(row.field(u"RowVersion").value()));
    pc->set_software_version(text_or_empty(row, u"SoftwareVersion"));
    set.clear_changed();
    result = true;
  });
}

bool refresh_pcs(SharedState& state) {
  // This account alone names library and module, and has two labels that are always empty.
  const auto labels = [] { return TextView(u"Field :     \t\r\nRegPCMacNbr:\t\r\n"); };
  return guarded(state, {u"Tarnwick", u"General.RefreshPCs"}, false, labels, [&](bool& result) {
    const auto rows = get_recordset(state, kPcList, ado::LockType::kOptimistic);
    if (rows != nullptr) load_register(state, *rows);
    result = true;
  });
}

}  // namespace tarnwick
