#include "apps/tarnwick/maintenance/maintenance.h"

#include <fmt/format.h>

#include <optional>

#include "ado/error.h"
#include "apps/tarnwick/maintenance/cause.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/print.h"
#include "apps/tarnwick/output/table.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/output/values.h"

namespace tarnwick::cli {
namespace {

// Whether a step failed because it found no row, or went through though it found none.
bool is_missing_row(const FailureCause& cause) {
  return cause.number == static_cast<std::int32_t>(ado::AdoErrorNumber::kNoCurrentRecord);
}

// Whether the record has a row. If so it has locked it, which loads it from there.
bool lock_if_there(const Session& session, const Record& record, const std::string& what) {
  session.clear_last_cause();
  if (record.lock()) return true;
  const FailureCause cause = session.last_cause();
  if (is_missing_row(cause)) return false;
  if (cause.kind == ado::FailureKind::kLockTimeout) {
    throw Failure(ExitCode::kLocked,
                  fmt::format("{} is being maintained by another process.", what));
  }
  throw failure_of(cause, fmt::format("{} cannot be read", what), session.last_error_msg());
}

// " is being maintained by VEL-ADM-001 since ... (process 4711)", as far as it is known.
std::string holder(const Look& look) {
  const Stamp stamp = parse_stamp(look.stamp);
  return fmt::format(" is being maintained by {}{}{}",
                     stamp.computer.empty() ? "another process" : printable(stamp.computer),
                     stamp.since.empty() ? "" : fmt::format(" since {}", printable(stamp.since)),
                     look.process_id ? fmt::format(" (process {})", *look.process_id) : "");
}

std::optional<Record> read_if_there(const Session& session, const Row& key) {
  Record record = make_record(session, key);
  if (!lock_if_there(session, record, describe(key))) return std::nullopt;
  record.release();
  return record;
}

// Delete takes the record out of the list of its class too, and calls it a failure if it is not
// there. What it returns says little otherwise: whether the row is still there does.
void list_and_delete(const Session& session, const Row& key, const Record& record) {
  if (key.record_class() == ClassId::kRegisteredPC) {
    session.server().get<"RegisteredPCs">().call<"AddPCObject">(record.as<RegisteredPC>());
  } else if (key.record_class() == ClassId::kReport) {
    session.server().get<"Reports">().call<"AddReportObject">(record.as<Report>());
  }
  record.remove();
}

// A service that goes meanwhile tells nobody whether it has written.
UpdateErrorEnum carry_out(const std::function<UpdateErrorEnum()>& step) {
  try {
    return step();
  } catch (const client::CallError& error) {
    if (error.reason() != client::CallError::Reason::kNotAnswered) throw;
    throw Failure(ExitCode::kUnknown,
                  "The service ended while it was writing: nobody knows whether it has written.");
  }
}

[[noreturn]] void refuse_write(const FailureCause& cause, const std::string& what,
                               TextView account) {
  throw failure_of(cause,
                   cause.outcome_unknown
                       ? fmt::format("The connection was lost while {} was written: nobody knows "
                                     "whether it was. Look at it before you write it again",
                                     what)
                       : fmt::format("{} was not written", what),
                   account);
}

// A component's properties are read-only for the most part, so its change is written by a new
// object with all values.
Record changed_record(const Session& session, const Record& record, const Row& wanted) {
  if (wanted.record_class() == ClassId::kComponent) return make_record(session, wanted);
  record.assign(wanted);
  return record;
}

}  // namespace

Record make_record(const Session& session, const Row& row) {
  require_plain_key(row);
  Record record = Record::make(session.transport(), row);
  if (!record) {
    throw Failure(ExitCode::kFailed, "The component cannot be made.", session.last_error_msg());
  }
  return record;
}

Row new_row(const Session& session, const Row& key) {
  client::Transport& transport = session.transport();
  Row row = transport.read(transport.create(automation::class_of(key.record_class())));
  row.overlay(key);
  return row;
}

Row row_of(const Record& record) {
  Row row = record.read();
  if (!row.complete()) {
    row.fill();
    throw Failure(ExitCode::kFailed,
                  fmt::format("{} has a text that the bus cannot carry. With --in-process the "
                              "service is not needed.",
                              describe(row)));
  }
  if (const Attribute* stamp = client::find_attribute(row.record_class(), "SoftLock")) {
    row.set(*stamp, stamp->zero);
  }
  return row;
}

Record lock(const Session& session, const Row& key) {
  Record record = make_record(session, key);
  const std::string what = describe(key);
  if (!lock_if_there(session, record, what)) {
    throw Failure(ExitCode::kMissing, fmt::format("{} does not exist.", what));
  }
  return record;
}

Record read_record(const Session& session, const Row& key) {
  Record record = lock(session, key);
  record.release();
  return record;
}

bool is_there(const Session& session, const Row& key) {
  return read_if_there(session, key).has_value();
}

Row stored_row(const Session& session, const Row& key) { return row_of(read_record(session, key)); }

Row seen_row(const Session& session, const Row& key) {
  const std::string what = describe(key);
  const Record record = make_record(session, key);
  session.clear_last_cause();
  const Look look = record.look();
  if (look.outcome == LookOutcome::kMissing) {
    throw Failure(ExitCode::kMissing, fmt::format("{} does not exist.", what));
  }
  if (look.outcome == LookOutcome::kFailed) {
    throw failure_of(session.last_cause(), fmt::format("{} cannot be read", what),
                     session.last_error_msg());
  }
  if (look.outcome == LookOutcome::kHeld) {
    throw Failure(ExitCode::kLocked,
                  fmt::format("{}{}; the database does not show what was committed before.", what,
                              holder(look)));
  }
  if (look.held) {
    tell_error(fmt::format("{}{}; it is shown as it was committed.", what, holder(look)));
  }
  return row_of(record);
}

void remove(const Session& session, const Row& key) {
  const std::string what = describe(key);
  const Record record = lock(session, key);
  session.clear_last_cause();
  list_and_delete(session, key, record);
  const FailureCause cause = session.last_cause();
  if (cause.outcome_unknown) {
    throw failure_of(cause,
                     fmt::format("The connection was lost while {} was deleted: nobody knows "
                                 "whether it was",
                                 what),
                     session.last_error_msg());
  }
  if (is_there(session, key)) {
    throw failure_of(cause, fmt::format("{} could not be deleted", what), {});
  }
}

void write(const Session& session, const Record& record, const Row& read, const Row& wanted,
           const std::function<UpdateErrorEnum()>& step, const ExplainConflict& explain) {
  const std::string what = describe(read);
  session.clear_last_cause();
  const UpdateErrorEnum result = carry_out(step);
  const FailureCause cause = session.last_cause();
  const bool was_there = !version_of(read).empty();
  if (result == OK_ue) {
    if (was_there && same_key(read, wanted) && is_missing_row(cause)) {
      tell_error(
          fmt::format("{}: its row had vanished since it was read, and was inserted again.", what));
    }
    return;
  }
  const Text account = session.last_error_msg();
  record.release();
  // A row that came in the very moment is refused by the table's key.
  const bool came = !was_there || !same_key(read, wanted);
  const bool changed = cause.kind == ado::FailureKind::kChanged;
  if (!changed && !(came && cause.kind == ado::FailureKind::kRefused)) {
    refuse_write(cause, what, account);
  }
  std::optional<Row> stored;
  if (const auto other = read_if_there(session, key_of(wanted))) stored = row_of(*other);
  if (!changed && !stored) refuse_write(cause, what, account);
  explain(read, stored, wanted);
  throw Failure(ExitCode::kChanged,
                came ? fmt::format("{} was added by someone else meanwhile; nothing was written.",
                                   describe(wanted))
                     : fmt::format("{} was changed by someone else since it was read; nothing was "
                                   "written.",
                                   what),
                account);
}

void write(const Session& session, const Options& options, const Record& record, const Row& read,
           const Row& wanted, const std::function<UpdateErrorEnum()>& step) {
  write(session, record, read, wanted, step,
        [&](const Row& before, const std::optional<Row>& stored, const Row& to_write) {
          explain_conflict(options, before, stored, to_write);
        });
}

void tell_written(const Session& session, const Options& options, const Row& before,
                  const Row& after) {
  std::optional<Row> stored;
  if (options.json || options.verbose) stored = stored_row(session, key_of(after));
  tell_changes(options, before, after, stored);
}

void change_record(const Session& session, const Options& options, const Row& key, Holding holding,
                   const std::function<void(Row&)>& change) {
  const bool locks = holding == Holding::kLock;
  const Record record = locks ? lock(session, key) : read_record(session, key);
  const Row read = row_of(record);
  if (locks && options.verbose && !options.json) {
    print("{} locked.\n  row version {}\n", describe(read), display(version_of(read)));
  }
  Row wanted = read;
  change(wanted);
  const Record changed = changed_record(session, record, wanted);
  write(session, options, changed, read, wanted, [&] { return changed.update(); });
  tell_written(session, options, read, wanted);
}

void add(const Session& session, const Options& options, const Addition& addition) {
  const Row& key = addition.key;
  if (is_there(session, key)) {
    throw Failure(ExitCode::kFailed, fmt::format("{} {}.", describe(key), addition.exists));
  }
  const Row before = new_row(session, key);
  Row values = before;
  values.overlay(addition.given);
  const Record record = make_record(session, values);
  if (addition.prepare) addition.prepare(record);
  write(session, options, record, before, row_of(record),
        [&] { return record.insert(addition.report_file); });
  tell_written(session, options, before, values);
}

}  // namespace tarnwick::cli
