#include "reports/report.h"

#include "platform/file_system.h"
#include "records/column_values.h"
#include "records/loaded_rows.h"
#include "records/recordset_access.h"
#include "records/report_lookup.h"
#include "records/update_protocol.h"
#include "reports/refresh_report.h"
#include "reports/report_payload.h"
#include "reports/report_properties.h"
#include "reports/report_type.h"
#include "runtime/case_mapping.h"
#include "runtime/conversions.h"
#include "state/guard.h"
#include "state/store.h"

namespace tarnwick {
namespace {

platform::FileSystemObject create_file_system_object(SharedState& state) {
  return make_under_step_text(state, u"Unable to create Scripting.FileSystemObject",
                              [] { return platform::FileSystemObject(); });
}

// The folder that `path` names a file in.
Text require_folder_of(SharedState& state, const platform::FileSystemObject& files, TextView path) {
  Text folder = files.get_parent_folder_name(path);
  if (!files.folder_exists(folder)) {
    raise_message(state, join({u"The Path '", folder, u"' doesn't exist!"}));
  }
  return folder;
}

}  // namespace

Report::Report(SharedState& state) : RecordObject(state) {}

Report::Report(SharedState& state, std::shared_ptr<const LoadedRows<Report>> rows,
               const std::byte* row)
    : RecordObject(state), values_(std::move(rows), row) {}

Report::~Report() = default;

Report::Values& Report::values() { return values_.made_for(*this); }

Text Report::soft_lock() const { return values_.get<"SoftLock">(&Values::soft_lock); }
MaintTypeEnum Report::maintenance_type() const {
  return values_.get<"MaintenanceType">(&Values::maintenance_type);
}
Text Report::description() const { return values_.get<"Description">(&Values::description); }
ReportTypesEnum Report::report_type() const {
  return values_.get<"ReportType">(&Values::report_type);
}
Text Report::definition() const { return values_.get<"Definition">(&Values::definition); }
Text Report::ttx() const { return values_.get<"TTX">(&Values::ttx); }
Text Report::sql() const { return values_.get<"SQL">(&Values::sql); }
std::int16_t Report::image_index() const { return values_.get<"ImageIndex">(&Values::image_index); }
Text Report::report_group_id() const {
  return values_.get<"ReportGroupID">(&Values::report_group_id);
}
Text Report::version() const { return values_.get<"Version">(&Values::version); }
Date Report::created() const { return values_.get<"Created">(&Values::created); }
Text Report::author() const { return values_.get<"Author">(&Values::author); }
Text Report::title() const { return values_.get<"Title">(&Values::title); }
Text Report::name() const { return values_.get<"Name">(&Values::name); }
Text Report::row_version() const { return values_.get<"RowVersion">(&Values::row_version); }

void Report::set_name(Text value) {
  Values& own = values();
  if (own.initial_name.empty()) own.initial_name = value;
  set(own.name, std::move(value));
}

Text Report::report_type_as_string() const { return report_type_to_code(report_type()); }

ReportTypesEnum Report::get_report_type_from_string(TextView data) const {
  return report_type_from_code(data);
}

bool Report::remove() {
  return succeeds(state_, [&] {
    const Text name = key();
    if (name.empty()) return;
    const Text statement = join({u"Delete from dbo.DW_Reports Where ReportName = '", name, u"'"});
    if (locked()) release_record();
    state_.report_row.reset();
    execute_delete(state_, statement);
    require_set(state_.reports).remove(name);
  });
}

bool Report::refresh() {
  return guarded(state_, {u"Report", u"Refresh"}, false, [&](bool& result) {
    const auto rows =
        get_recordset(state_, join({report_list(), u" Where ReportName = '", name(), u"'"}),
                      ado::LockType::kOptimistic);
    if (rows == nullptr) return;
    rows->move_first();
    result = refresh_report(state_, this, rows.get());
  });
}

bool Report::lock_record() {
  return guarded(state_, {u"Report", u"LockRecord"}, false, [&](bool& result) {
    result = tarnwick::lock_record(
        lock_, name(), TableSelector::kReports,
        [&](ado::Recordset& row) { return refresh_report(state_, this, &row); });
  });
}

Look Report::look() {
  const Text& name = values().name;
  return look_at_row(state_, {u"Report", u"Look"}, report_row(name),
                     {Text(Properties<Report>::kTable), {name}},
                     [&](ado::Recordset& row) { return refresh_report(state_, this, &row); });
}

UpdateErrorEnum Report::update(TextView full_report_name) {
  return write(u"Update", full_report_name, Existing::kWritten);
}

UpdateErrorEnum Report::insert(TextView full_report_name) {
  return write(u"Insert", full_report_name, Existing::kRefused);
}

UpdateErrorEnum Report::write(TextView procedure, TextView full_report_name, Existing existing) {
  return guarded(state_, {u"Report", procedure}, Error_ue, [&](UpdateErrorEnum& result) {
    const platform::FileSystemObject files = create_file_system_object(state_);
    const Values& own = values();
    if (own.name.empty()) {
      result = MissRequiredField_ue;
      raise_message(state_, u"No Report Name provided for updating the report!");
    }
    if (!full_report_name.empty() && !files.file_exists(full_report_name)) {
      result = MissReportFile_ue;
      raise_message(
          state_, join({u"Unable to read '", full_report_name, u"' from disk. Unable to update!"}));
    }
    state_.report_row.reset();
    const Text refused =
        join({u"Unable to update the report '", own.name, u"' in the DW_Reports table!"});
    write_row(state_, lock_,
              {.key = own.name,
               .table = TableSelector::kReports,
               .version = own.row_version,
               .changed_opening = u"The data for '",
               .refused_line = refused,
               .write_columns = [&](ado::Recordset& row) { write_columns(row, full_report_name); },
               .existing = existing},
              result);
    if (!equals_ignoring_case(own.name, own.initial_name)) {
      // The report was renamed: its row was written under the new name, the old one goes. The table
      // goes by both names.
      execute_delete(state_,
                     join({u"Delete from DW_Report Where ReportName = '", own.initial_name, u"'"}));
    }
    finish_update();
    result = OK_ue;
  });
}

void Report::write_columns(ado::Recordset& row, TextView full_report_name) {
  Values& own = values();
  for_each_written<Report>([&](const auto& property) {
    if (property.name == "Created" && own.created.is_zero()) own.created = state_.host.now();
    if (property.name == "Version" && own.version.empty()) own.version = u"1.0.0";
    if (property.name != "TTX") {
      tarnwick::write(row, property, *this);
    } else if (!own.ttx.empty()) {
      row.field(property.writing.column).set_value(ttx_to_bytes(state_, own.ttx));
    }
  });
  if (!full_report_name.empty()) {
    row.field(u"Report_Binary").set_value(bytes_from_file(state_, full_report_name));
  }
}

bool Report::import_ttx(TextView full_path_name) {
  return guarded(state_, {u"Report", u"ImportTTX"}, false, [&](bool& result) {
    const platform::FileSystemObject files = create_file_system_object(state_);
    if (full_path_name.empty()) return;
    if (!files.file_exists(full_path_name)) {
      raise_message(state_, join({u"The File '", full_path_name, u"' doesn't exist!"}));
    }
    // Past the setter: an import does not mark the report changed. `update` writes it all the same.
    values().ttx = ttx_from_file(state_, full_path_name);
    result = true;
  });
}

bool Report::extract_ttx(TextView full_path_name) {
  return guarded(state_, {u"Report", u"ExtractTTX"}, false, [&](bool& result) {
    const platform::FileSystemObject files = create_file_system_object(state_);
    const Text ttx = this->ttx();
    if (ttx.empty()) raise_message(state_, u"There is no TTX data to extract!");
    if (full_path_name.empty()) return;
    const Text folder = require_folder_of(state_, files, full_path_name);
    const Text file_name = join({files.get_base_name(full_path_name), u".ttx"});
    ttx_to_file(state_, ttx, files.build_path(folder, file_name));
    result = true;
  });
}

bool Report::extract_report(TextView full_path_name) {
  return guarded(state_, {u"Report", u"ExtractReport"}, false, [&](bool& result) {
    const platform::FileSystemObject files = create_file_system_object(state_);
    const Text name = key();
    if (name.empty()) raise_message(state_, u"There is no reportname to extract!");
    if (full_path_name.empty()) return;
    require_folder_of(state_, files, full_path_name);
    if (!check_report_rs(state_, name)) {
      raise_message(state_,
                    join({u"Unable to find the report '", name, u"' in the DW_REPORTS table!"}));
    }
    const ado::Field file = state_.report_row->field(u"Report_Binary");
    if (file.is_null()) {
      raise_message(state_, Text(kNoReportFile));
    }
    bytes_to_file(state_, to_bytes(file.value()), full_path_name);
    result = true;
  });
}

}  // namespace tarnwick
