#pragma once

#include <memory>

#include "reports/report.h"
#include "reports/report_payload.h"

namespace tarnwick {

/// The statement that reads the catalog by name, without the report files. Traces show its blanks.
[[nodiscard]] const Text& report_list();

/// The statement that reads the row of one report, without its report file. The name goes into it
/// as it stands.
[[nodiscard]] Text report_row(TextView name);

/// Loads `report` from the current row of `rows` and clears its mark of a change. False when a
/// column could not be read, or an argument is null; the columns before it keep their new values.
/// Recorded as component General, procedure RefreshReport.
bool refresh_report(SharedState& state, Report* report, ado::Recordset* rows);

/// Loads the catalog anew into the shared list, row after row. A row of which nothing can go wrong
/// stays as it is packed until somebody asks for its report. The intermediate file of the field
/// definitions has the last ones when this ends; where they cannot be written then, the report that
/// they belong to has failed to load, with the account that it would have left before.
class CatalogLoading final {
 public:
  /// Begins with an empty list. `rows` must outlive this.
  CatalogLoading(SharedState& state, ado::Recordset& rows);
  ~CatalogLoading();
  CatalogLoading(const CatalogLoading&) = delete;
  CatalogLoading& operator=(const CatalogLoading&) = delete;

  /// Lists the report of the current row under `name`, also one that fails to load: its account is
  /// as refresh_report leaves it. Throws Error 457 for a name that is listed.
  void list_report(TextView name);

 private:
  [[nodiscard]] bool stays_packed() const;

  SharedState& state_;
  ado::Recordset& rows_;
  std::shared_ptr<const LoadedRows<Report>> packed_;  // null where none can stay so
  TtxConversions conversions_;
  std::int64_t converted_ = 0;  // position of the report whose field definitions came last
};

}  // namespace tarnwick
