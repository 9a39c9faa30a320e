#include "pcs/refresh_pcs.h"

#include "pcs/registered_pc_properties.h"
#include "records/column_values.h"
#include "records/recordset_access.h"
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
    load_properties(*rows, *pc);
    PropertyAccess::clear_changed(*pc);
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
