#include "apps/tarnwick/maintenance/change_record.h"

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/maintenance/maintenance.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/session/connect.h"
#include "apps/tarnwick/terminal/editing.h"

namespace tarnwick::cli {
namespace {

// A component's properties are read-only for the most part, so its change is written by a new
// object with all values.
Record changed_record(const Session& session, const Record& record, const Row& wanted) {
  if (wanted.record_class() == automation::ClassId::kComponent) return make_record(session, wanted);
  record.assign(wanted);
  return record;
}

}  // namespace

void change_record(const Session& session, const Options& options, const Row& key, Holding holding,
                   const std::function<void(Row&)>& change) {
  const Record record = make_record(session, key);
  const std::string what = describe(key);
  if (holding == Holding::kLock) {
    lock(session, record, what);
  } else {
    lock_to_read(session, record, what);
  }
  const Row read = row_of(record);
  if (holding == Holding::kLock && options.verbose && !options.json) tell_locked(read);
  Row wanted = read;
  change(wanted);
  const Record changed = changed_record(session, record, wanted);
  write(session, options, changed, read, wanted, [&] { return changed.update(); });
  tell_written(session, options, read, wanted);
}

void set_values(const Options& options, const Row& given, Holding holding,
                const std::function<Row(const Session&)>& find) {
  if (!given.any()) throw Failure(ExitCode::kUsage, "Nothing to set: name a field and its value.");
  const auto session = connect(options);
  change_record(*session, options, find(*session), holding, [&](Row& row) { row.overlay(given); });
}

void edit_record(const Session& session, const Options& options, const Row& key) {
  change_record(session, options, key, Holding::kNothing, edit_row);
}

}  // namespace tarnwick::cli
