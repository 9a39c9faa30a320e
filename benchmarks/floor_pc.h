#pragma once

#include <cstdint>

#include "runtime/text.h"

namespace tarnwick::benchmarks {

/// The fields of a PC, typed as those of RegisteredPC.
struct FloorPc {
  Text mac_number;
  Text computer_id;
  std::int16_t comp_id = -1;
  std::int32_t maintenance_type = 5;
  bool active = false;
  std::int16_t image_index = 10;
  Text last_user;
  double last_login = 0;
  std::int32_t total_logins = 0;
  Text activated_by;
  double activate_date = 0;
  Text deactivated_by;
  double deactivated_date = 0;
  Text soft_lock;
  Text row_version;
  Text software_version;
};

/// The key of a PC.
[[nodiscard]] inline Text key_of(const FloorPc& pc) {
  return join({pc.mac_number, u"\u00FE", pc.computer_id, u"\u00FE", decimal(pc.comp_id)});
}

}  // namespace tarnwick::benchmarks
