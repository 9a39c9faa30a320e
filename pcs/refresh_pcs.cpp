#include "pcs/refresh_pcs.h"

#include "pcs/registered_pc_properties.h"
#include "records/column_values.h"
#include "records/loaded_rows.h"
#include "records/recordset_access.h"
#include "state/guard.h"

namespace tarnwick {
namespace {

using Rows = LoadedRows<RegisteredPC>;

void append(const ado::Cell& cell, Text& key) {
  if (cell.kind == ado::Cell::Kind::kUtf8) {
    append_stored_utf8(cell.view(), key);
  } else {
    key.append(Plain<Text>::from(cell));
  }
  key.append(1, kKeySeparator);
}

// As RegisteredPC::key; into the same text row after row.
void read_key(const Rows& rows, std::span<const ado::Cell> row, Text& key) {
  key.clear();
  append(rows.cell<"MACNumber">(row), key);
  append(rows.cell<"ComputerID">(row), key);
  key.append(decimal(rows.cell<"CompID">(row).integer));
}

void load_register(SharedState& state, ado::Recordset& recordset) {
  const std::shared_ptr<const Rows> rows = Rows::of(recordset);
  state.registered_pcs = std::make_shared<Store<RegisteredPC>>(
      std::make_unique<LoadedRecords<RegisteredPC>>(state, rows));
  Store<RegisteredPC>& store = *state.registered_pcs;
  store.reserve(static_cast<std::size_t>(recordset.record_count()));
  Text key;
  for (; !recordset.eof(); recordset.move_next()) {
    if (rows != nullptr && rows->is_plain(recordset.cells())) {
      read_key(*rows, recordset.cells(), key);
      store.add_row(key, static_cast<std::uint32_t>(recordset.row()));
      continue;
    }
    // A row whose load failed is listed all the same, with the values that it got.
    auto pc = std::make_shared<RegisteredPC>(state);
    refresh_pc(state, &recordset, pc.get());
    key = pc->key();
    store.add(key, std::move(pc));
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
