#pragma once

#include <functional>

#include "apps/tarnwick/connect.h"
#include "apps/tarnwick/editing.h"
#include "apps/tarnwick/maintenance.h"

namespace tarnwick::cli {

// Changes of PCs and reports from the reading to the telling. All of it exists for PcRow and
// ReportRow.

/// What keeps others from the row between reading and writing.
enum class Holding {
  kNothing,  // a change by someone else is noticed when the row is written
  kLock,     // the row lock
};

inline UpdateErrorEnum update(PcRecord& record) { return record.update(); }
inline UpdateErrorEnum update(ReportRecord& record) { return record.update({}); }

/// Reads the row of `key`, has `change` change it, and writes it. Throws Failure.
template <class Row>
void change_record(Client& client, const Options& options, const Row& key, Holding holding,
                   const std::function<void(Row&)>& change) {
  const auto record = new_record(client, key);
  if (holding == Holding::kLock) {
    lock(client, *record, describe(key));
  } else {
    load(client, *record, describe(key));
  }
  const Row read = row_of(*record);
  if (holding == Holding::kLock && options.verbose && !options.json) tell_locked(read);
  Row wanted = read;
  change(wanted);
  record->assign(wanted);
  write(client, options, *record, read, wanted, [&] { return update(*record); });
  tell_written(client, options, read, wanted);
}

/// The command `set`. `find(client)` names the row; `given.any()` and `given.apply(row)` are the
/// values. Throws Failure.
template <class Given, class Find>
void set_fields(const Options& options, const Given& given, Holding holding, Find&& find) {
  if (!given.any()) throw Failure(ExitCode::kUsage, "Nothing to set: name a field and its value.");
  const auto client = connect(options);
  const auto key = find(*client);
  using Row = std::remove_const_t<decltype(key)>;
  Row trial = key;
  given.apply(trial);  // what cannot be read is refused before the row is touched
  const std::function<void(Row&)> apply = [&](Row& row) { given.apply(row); };
  change_record(*client, options, key, holding, apply);
}

/// The command `edit`.
template <class Row>
void edit_record(Client& client, const Options& options, const Row& key) {
  const std::function<void(Row&)> edit = [](Row& row) { edit_row(row); };
  change_record(client, options, key, Holding::kNothing, edit);
}

}  // namespace tarnwick::cli
