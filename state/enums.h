#pragma once

#include <cstdint>

namespace tarnwick {

/// The result of every `update`.
enum UpdateErrorEnum : std::int32_t {
  OK_ue = 0,
  Error_ue = 1,
  MissRequiredField_ue = 2,
  MissReportFile_ue = 3,
  Locked_ue = 4,
  RecordChanged_ue = 5,
};

/// Which kind of record maintenance a record stands for.
enum MaintTypeEnum : std::int32_t {
  NotDefined_mt = 0,
  ServerReg_mt = 1,
  Component_mt = 2,
  ComponentWithPCs_mt = 3,
  Report_mt = 4,
  PCReg_mt = 5,
};

/// What kind of report a component produces.
enum ReportCodeEnum : std::int32_t {
  None_rc = 0,
  PCs_rc = 1,
  PCAll_rc = 2,
  CrystalRpts_rc = 3,
};

enum ReportTypesEnum : std::int32_t {
  None_rt = 0,
  CrystalReport_rt = 1,
};

}  // namespace tarnwick
