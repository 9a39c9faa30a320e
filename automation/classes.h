#pragma once

#include "automation/model.h"

namespace tarnwick::automation {

/// Make the tables of the classes.
[[nodiscard]] Class make_server_class();
[[nodiscard]] Class make_components_class();
[[nodiscard]] Class make_component_class();
[[nodiscard]] Class make_registered_pcs_class();
[[nodiscard]] Class make_registered_pc_class();
[[nodiscard]] Class make_reports_class();
[[nodiscard]] Class make_report_class();

}  // namespace tarnwick::automation
