#include "apps/tarnwick/maintenance.h"

#include "apps/tarnwick/cause.h"

namespace tarnwick::cli {
namespace {

enum class Locking { kDone, kMissing };

Locking try_lock(Client& client, Record& record, const std::string& what) {
  client.clear_last_cause();
  if (record.lock_record()) return Locking::kDone;
  const FailureCause cause = client.last_cause();
  if (is_missing_row(cause)) return Locking::kMissing;
  if (cause.kind == ado::FailureKind::kLockTimeout) {
    throw Failure(ExitCode::kLocked,
                  fmt::format("{} is being maintained by another process.", what));
  }
  throw failure_of(cause, fmt::format("{} cannot be read", what), client.last_error_msg());
}

}  // namespace

void lock(Client& client, Record& record, const std::string& what) {
  if (try_lock(client, record, what) == Locking::kMissing) {
    throw Failure(ExitCode::kMissing, fmt::format("{} does not exist.", what));
  }
}

bool load_if_there(Client& client, Record& record, const std::string& what) {
  if (try_lock(client, record, what) == Locking::kMissing) return false;
  record.release_record();
  return true;
}

void load(Client& client, Record& record, const std::string& what) {
  lock(client, record, what);
  record.release_record();
}

void remove_locked(Client& client, Record& record, const std::string& what,
                   const std::function<bool()>& is_still_there) {
  client.clear_last_cause();
  record.remove();
  const FailureCause cause = client.last_cause();
  if (cause.outcome_unknown) {
    throw failure_of(cause,
                     fmt::format("The connection was lost while {} was deleted: nobody knows "
                                 "whether it was",
                                 what),
                     client.last_error_msg());
  }
  if (is_still_there()) {
    throw failure_of(cause, fmt::format("{} could not be deleted", what), {});
  }
}

void refuse_write(const FailureCause& cause, const std::string& what, TextView account) {
  throw failure_of(cause,
                   cause.outcome_unknown
                       ? fmt::format("The connection was lost while {} was written: nobody knows "
                                     "whether it was. Look at it before you write it again",
                                     what)
                       : fmt::format("{} was not written", what),
                   account);
}

}  // namespace tarnwick::cli
