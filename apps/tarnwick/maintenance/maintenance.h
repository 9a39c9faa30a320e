#pragma once

#include <functional>
#include <optional>
#include <string>

#include "apps/tarnwick/options.h"
#include "apps/tarnwick/session/session.h"

namespace tarnwick::cli {

// How commands maintain one record.

/// A record object that bears what `row` knows, for maintenance. Throws Failure, also as
/// require_plain_key.
[[nodiscard]] Record make_record(const Session& session, const Row& row);

/// What a new object of the class of `key` has, with this key.
[[nodiscard]] Row new_row(const Session& session, const Row& key);

/// What the record was loaded with while its row was locked, without the stamp of that lock. Throws
/// Failure for a record with a text that cannot be had: it would be lost if it were written back.
[[nodiscard]] Row row_of(const Record& record);

/// A record object of this key, loaded from its row, which it has locked. Throws Failure: kMissing,
/// kLocked, kFailed.
[[nodiscard]] Record lock(const Session& session, const Row& key);

/// As lock, but the row is locked for a moment only: the object model has no other way to read one
/// row.
[[nodiscard]] Record read_record(const Session& session, const Row& key);

/// Whether `key` has a row. Throws Failure: kLocked, kFailed.
[[nodiscard]] bool is_there(const Session& session, const Row& key);

/// The row of `key` as it is stored. Throws Failure as `lock`.
[[nodiscard]] Row stored_row(const Session& session, const Row& key);

/// The row of `key` as it is stored, for who only wants to see it: locks nothing and waits for
/// nobody. Of a row that somebody maintains, who does is told on standard error, and it is shown as
/// it was committed. Throws Failure: kMissing, kFailed; kLocked where the database cannot show a
/// row that is maintained.
[[nodiscard]] Row seen_row(const Session& session, const Row& key);

/// Deletes the row and makes sure that it is gone. Takes the lock first, so that a row that another
/// process maintains is not deleted under its hands. Throws Failure as `lock`, and kUnknown.
void remove(const Session& session, const Row& key);

/// Called where a write was refused because the row changed, or came: what was read, what is stored
/// now (nothing when the row is gone) and what was to be written.
using ExplainConflict =
    std::function<void(const Row& read, const std::optional<Row>& stored, const Row& wanted)>;

/// Runs `step`, which writes `wanted` to the row that `read` was read from (version_of is empty
/// when there was none), and answers for the result. Throws Failure; the record is unlocked then.
void write(const Session& session, const Record& record, const Row& read, const Row& wanted,
           const std::function<UpdateErrorEnum()>& step, const ExplainConflict& explain);
/// The same; a conflict is explained column by column on standard output.
void write(const Session& session, const Options& options, const Record& record, const Row& read,
           const Row& wanted, const std::function<UpdateErrorEnum()>& step);

/// Tells what became of `before`: the changed values, and with --verbose or --json the row as it is
/// stored now, which is read anew.
void tell_written(const Session& session, const Options& options, const Row& before,
                  const Row& after);

/// What keeps others from the row between reading and writing.
enum class Holding {
  kNothing,  // a change by someone else is noticed when the row is written
  kLock,     // the row lock
};

/// Reads the row of `key`, has `change` change it, writes it and tells it. Throws Failure.
void change_record(const Session& session, const Options& options, const Row& key, Holding holding,
                   const std::function<void(Row&)>& change);

/// Adds a row with the key `key` and what `given` knows; tells it. `prepare` may do more to the
/// object before it is written. Throws Failure: `exists` ("exists already") where the row is there.
struct Addition {
  const Row& key;
  const Row& given;
  std::string exists;
  TextView report_file = {};
  std::function<void(const Record&)> prepare = {};
};
void add(const Session& session, const Options& options, const Addition& addition);

}  // namespace tarnwick::cli
