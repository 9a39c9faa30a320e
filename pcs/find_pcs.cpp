#include "pcs/find_pcs.h"

#include <algorithm>

#include "runtime/case_mapping.h"
#include "runtime/conversions.h"

namespace tarnwick {
namespace {

constexpr TextView kKeys = u"Select MACNbr, ComputerID, CompID From DW_SEC_PC";
constexpr TextView kOrder = u" Order By MACNbr, ComputerID, CompID";

bool is_ascii(TextView text) {
  return std::ranges::all_of(text, [](char16_t unit) { return unit < 0x80; });
}

// The embedded tables fold no other letters than those of ASCII.
Text statement_for(TextView name) {
  if (!is_ascii(name)) return join({kKeys, kOrder});
  return join({kKeys, u" Where ComputerID = '", name, u"' Or MACNbr = '", name, u"'", kOrder});
}

}  // namespace

std::vector<PcKey> find_pcs(SharedState& state, TextView name) {
  if (state.connection == nullptr) throw Error(ErrorNumber::kObjectNotSet);
  ado::Recordset rows;
  rows.set_active_connection(state.connection);
  rows.set_cursor_location(ado::CursorLocation::kServer);
  rows.set_cursor_type(ado::CursorType::kForwardOnly);
  rows.set_lock_type(ado::LockType::kReadOnly);
  rows.set_held_rows(ado::HeldRowReading::kAsItStands);
  rows.open(statement_for(name), ado::kCommandText);
  std::vector<PcKey> found;
  for (; !rows.eof(); rows.move_next()) {
    PcKey key{to_text(rows.field(u"MACNbr").value()), to_text(rows.field(u"ComputerID").value()),
              to_int16(rows.field(u"CompID").value())};
    if (equals_ignoring_case(key.computer_id, name) || equals_ignoring_case(key.mac_number, name)) {
      found.push_back(std::move(key));
    }
  }
  return found;
}

}  // namespace tarnwick
