#pragma once

#include <cstdint>

#include "runtime/date.h"
#include "runtime/text.h"
#include "state/enums.h"

namespace tarnwick::cli {

// The properties of one record object, read in one go. Members bear the names of the properties;
// what they start with is what a new object has.

struct ComponentRow {
  std::int16_t comp_id = -1;
  Text name;
  std::int16_t parent_id = 0;
  std::int16_t priority = 0;
  std::int16_t image_index = 1;
  bool force_display = false;
  MaintTypeEnum maintenance_type = NotDefined_mt;
  Text security_group;
  ReportCodeEnum report_code = None_rc;
  Text server_name;
  Text meta_id;
  Text authorized_role;
  Text row_version;
};

struct PcRow {
  Text mac_number;
  Text computer_id;
  std::int16_t comp_id = -1;
  MaintTypeEnum maintenance_type = PCReg_mt;
  bool active = false;
  std::int16_t image_index = 10;
  Text last_user;
  Date last_login;
  std::int32_t total_logins = 0;
  Text activated_by;
  Date activate_date;
  Text deactivated_by;
  Date deactivated_date;
  Text software_version;
  Text soft_lock;
  Text row_version;
};

struct ReportRow {
  Text name;
  Text title;
  Text author;
  Date created;
  Text version;
  Text report_group_id;
  std::int16_t image_index = 11;
  Text sql;
  Text ttx;
  ReportTypesEnum report_type = CrystalReport_rt;
  Text description;
  MaintTypeEnum maintenance_type = Report_mt;
  Text definition;
  Text soft_lock;
  Text row_version;
};

}  // namespace tarnwick::cli
