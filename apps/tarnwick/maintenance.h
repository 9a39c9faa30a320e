#pragma once

#include <fmt/format.h>

#include <optional>
#include <string>

#include "apps/tarnwick/client.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/kinds.h"
#include "apps/tarnwick/options.h"
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

/// Deletes the record's row and makes sure that it is gone. Takes the lock first, so that a row
/// that another process maintains is not deleted under its hands. Throws Failure as `lock`.
template <class Row>
void remove(Client& client, const Row& key) {
  const std::string what = describe(key);
  const auto record = new_record(client, key_of(key));
  lock(client, *record, what);
  record->remove();
  const auto again = new_record(client, key_of(key));
  if (load_if_there(client, *again, what)) {
    throw Failure(ExitCode::kFailed, fmt::format("{} could not be deleted.", what));
  }
}

/// Whether an account blames another process's lock.
[[nodiscard]] bool tells_of_lock(TextView account);

/// Throws the Failure that `result`, which is neither OK_ue nor RecordChanged_ue, stands for.
[[noreturn]] void refuse_update(UpdateErrorEnum result, const std::string& what, TextView account);

/// Whether the update that went through last found no row and inserted one.
[[nodiscard]] bool inserted_row(Client& client);

/// Runs `update`, which writes `wanted` to the row that `read` was read from (its row_version is
/// empty when there was none), and answers for the result: a refusal because the row changed is
/// explained column by column. Throws Failure; the record is unlocked then.
template <class Row, class RecordOfRow, class Update>
void write(Client& client, const Options& options, RecordOfRow& record, const Row& read,
           const Row& wanted, Update&& update) {
  const std::string what = describe(read);
  const UpdateErrorEnum result = update();
  if (result == OK_ue) {
    if (!read.row_version.empty() && same_key(read, wanted) && inserted_row(client)) {
      fmt::print(stderr, "{}: its row had vanished since it was read, and was inserted again.\n",
                 what);
    }
    return;
  }
  const Text account = client.last_error_msg();
  record.release_record();
  if (result != RecordChanged_ue) refuse_update(result, what, account);

  const auto now = new_record(client, key_of(wanted));
  std::optional<Row> stored;
  if (load_if_there(client, *now, what)) stored = row_of(*now);
  explain_conflict(options, read, stored, wanted);
  throw Failure(
      ExitCode::kChanged,
      fmt::format("{} was changed by someone else since it was read; nothing was written.", what),
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
