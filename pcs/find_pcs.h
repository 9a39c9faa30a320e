#pragma once

#include <cstdint>
#include <vector>

#include "state/shared_state.h"

namespace tarnwick {

/// What names one row of the register.
struct PcKey {
  Text mac_number;
  Text computer_id;
  std::int16_t comp_id = -1;
};

/// The rows whose computer id or MAC number is `name`, without regard to case, in the order of the
/// register. Reads keys alone, asks for those rows alone and waits for nobody, so that neither the
/// size of the register nor who maintains what matters. Loads nothing and leaves the stores and the
/// error state as they are. `name` goes into the statement as it stands. Throws Error: 91 without a
/// connection, else the engine's.
[[nodiscard]] std::vector<PcKey> find_pcs(SharedState& state, TextView name);

}  // namespace tarnwick
