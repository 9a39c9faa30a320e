#include "apps/tarnwick/files/apply_change.h"

#include <fmt/format.h>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/maintenance/cause.h"
#include "apps/tarnwick/maintenance/maintenance.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/options.h"

namespace tarnwick::cli {
namespace {

void tell_nothing(const Row&, const std::optional<Row>&, const Row&) {}

// The values that are written; all others are left as they are, but in a new record, where
// something else would stand.
Row values_of(const Change& change) {
  Row wanted = change.record->row;
  read_nulls(wanted);
  if (change.action == Change::Action::kAdd) return wanted;
  Row values(wanted.record_class());
  for (const Difference& difference : change.differences) {
    if (!difference.written || difference.field->kind != FileField::Kind::kValue) continue;
    values.set(*difference.field->attribute, wanted[*difference.field->attribute]);
  }
  return values;
}

// The file that is to be stored in this field; empty: none, or the one that is there.
Text file_of(const Change& change, FileField::Kind kind) {
  for (const Difference& difference : change.differences) {
    if (!difference.written || difference.field->kind != kind) continue;
    const FileRecord& record = *change.record;
    return file_argument(kind == FileField::Kind::kTtx ? record.ttx : record.report_file);
  }
  return {};
}

void import_ttx(const Session& session, const Change& change, const Record& record) {
  const Text file = file_of(change, FileField::Kind::kTtx);
  if (file.empty()) return;
  if (record.as<Report>().call<"ImportTTX">(file)) return;
  const Failure failure =
      failure_of(session.last_cause(),
                 fmt::format("{}: the field definitions cannot be taken", describe(change.row)),
                 session.last_error_msg());
  record.release();
  throw failure;
}

[[noreturn]] void refuse_as_changed(const Change& change) {
  throw Failure(ExitCode::kChanged,
                fmt::format("{} was changed by someone else meanwhile.", describe(change.row)));
}

// Runs `step` on a record that was there when it was compared.
template <class Step>
auto unless_gone(const Change& change, Step&& step) {
  try {
    return step();
  } catch (const Failure& failure) {
    if (failure.code() == ExitCode::kMissing) refuse_as_changed(change);
    throw;
  }
}

// Locks the record, which is still the one that was compared.
Record locked_record(const Session& session, const Change& change) {
  Record record = unless_gone(change, [&] { return lock(session, key_of(change.row)); });
  if (version_of(record.read()) == version_of(change.row)) return record;
  record.release();
  refuse_as_changed(change);
}

void add_record(const Session& session, const Change& change) {
  const Row before = new_row(session, change.row);
  Row wanted = before;
  wanted.overlay(values_of(change));
  const Record record = make_record(session, wanted);
  import_ttx(session, change, record);
  const Text file = file_of(change, FileField::Kind::kReportFile);
  write(
      session, record, before, wanted, [&] { return record.insert(file); }, tell_nothing);
}

void write_changes(const Session& session, const Change& change) {
  const Record record = locked_record(session, change);
  const Row values = values_of(change);
  Row wanted = change.row;
  wanted.overlay(values);
  if (change.row.record_class() == automation::ClassId::kComponent) {
    // Its properties are read-only, so its change is written by a new object with all values, which
    // has to take the lock itself.
    record.release();
    const Record changed = make_record(session, wanted);
    write(
        session, changed, change.row, wanted, [&] { return changed.update(); }, tell_nothing);
    return;
  }
  record.assign(values);
  if (change.row.record_class() == automation::ClassId::kReport) {
    import_ttx(session, change, record);
  }
  const Text file = file_of(change, FileField::Kind::kReportFile);
  write(
      session, record, change.row, wanted, [&] { return record.update(file); }, tell_nothing);
}

}  // namespace

void apply_change(const Session& session, const Change& change) {
  with_failures([&] {
    switch (change.action) {
      case Change::Action::kAdd:
        return add_record(session, change);
      case Change::Action::kChange:
        return write_changes(session, change);
      case Change::Action::kDelete:
        locked_record(session, change).release();
        return unless_gone(change, [&] { remove(session, key_of(change.row)); });
      default:
        return;
    }
  });
}

}  // namespace tarnwick::cli
