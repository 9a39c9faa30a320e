#pragma once

#include "reports/report.h"

namespace tarnwick {

/// The setters of Report that clients do not have, for the code of this library alone.
struct ReportSetters {
  Report& report;

  void soft_lock(Text value) { report.set(report.soft_lock_, std::move(value)); }
  /// Never marks the report changed.
  void row_version(Text value) { report.row_version_ = std::move(value); }
  void clear_changed() { report.changed_ = false; }
};

}  // namespace tarnwick
