#pragma once

#include <fmt/format.h>

#include <functional>
#include <optional>
#include <string>

#include "apps/tarnwick/cause.h"
#include "apps/tarnwick/client.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/kinds.h"
#include "apps/tarnwick/options.h"
#include "apps/tarnwick/process_setup.h"
#include "apps/tarnwick/telling.h"

namespace tarnwick::cli {

// How commands maintain one record. `what` is its name in sentences.

/// Locks the record, which loads it from its row. Throws Failure: kMissing, kLocked, kFailed.
void lock(Client& client, Record& record, const std::string& what);

/// Whether the record has a row; if so it was loaded from it. The row is locked for the moment: the
/// object model has no other way to read one row. Throws Failure: kLocked, kFailed.
[[nodiscard]] bool load_if_there(Client& client, Record& record, const std::string& what);

/// As load_if_there, but a missing row is a Failure (kMissing) too.
void load(Client& client, Record& record, const std::string& what);

/// Deletes the row of a locked record and answers for the result. Throws Failure.
void remove_locked(Client& client, Record& record, const std::string& what,
                   const std::function<bool()>& is_still_there);

/// Deletes the record's row and makes sure that it is gone. Takes the lock first, so that a row
/// that another process maintains is not deleted under its hands. Throws Failure as `lock`, and
/// kUnknown.
template <class Row>
void remove(Client& client, const Row& key) {
  const std::string what = describe(key);
  const auto record = new_record(client, key);
  lock(client, *record, what);
  remove_locked(client, *record, what, [&] {
    const auto again = new_record(client, key);
    return load_if_there(client, *again, what);
  });
}

/// Throws the Failure of a write that `cause` refused or cut.
[[noreturn]] void refuse_write(const FailureCause& cause, const std::string& what,
                               TextView account);

/// Runs `step`, which writes `wanted` to the row that `read` was read from (its row_version is
/// empty when there was none), and answers for the result: a refusal because the row changed, or
/// came, is explained column by column. Throws Failure; the record is unlocked then.
template <class Row, class RecordOfRow, class Step>
void write(Client& client, const Options& options, RecordOfRow& record, const Row& read,
           const Row& wanted, Step&& step) {
  const std::string what = describe(read);
  client.clear_last_cause();
  const UpdateErrorEnum result = step();
  const FailureCause cause = client.last_cause();
  if (result == OK_ue) {
    if (!read.row_version.empty() && same_key(read, wanted) && is_missing_row(cause)) {
      tell_error(
          fmt::format("{}: its row had vanished since it was read, and was inserted again.", what)
              .c_str());
    }
    return;
  }
  const Text account = client.last_error_msg();
  record.release_record();
  // A row that came in the very moment is refused by the table's key.
  const bool came = read.row_version.empty() || !same_key(read, wanted);
  const bool changed = cause.kind == ado::FailureKind::kChanged;
  if (!changed && !(came && cause.kind == ado::FailureKind::kRefused)) {
    refuse_write(cause, what, account);
  }
  const auto now = new_record(client, key_of(wanted));
  std::optional<Row> stored;
  if (load_if_there(client, *now, describe(wanted))) stored = row_of(*now);
  if (!changed && !stored) refuse_write(cause, what, account);
  explain_conflict(options, read, stored, wanted);
  throw Failure(ExitCode::kChanged,
                came ? fmt::format("{} was added by someone else meanwhile; nothing was written.",
                                   describe(wanted))
                     : fmt::format("{} was changed by someone else since it was read; nothing was "
                                   "written.",
                                   what),
                account);
}

/// Tells what became of `before`: the changed values, and with --verbose or --json the row as it is
/// stored now, which is read anew.
template <class Row>
void tell_written(Client& client, const Options& options, const Row& before, const Row& after) {
  if (!options.json && !options.verbose) {
    return tell_changes(options, before, after, std::optional<Row>());
  }
  const auto record = new_record(client, key_of(after));
  load(client, *record, describe(after));
  tell_changes(options, before, after, std::optional<Row>(row_of(*record)));
}

}  // namespace tarnwick::cli
