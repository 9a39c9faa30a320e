#include "apps/tarnwick/maintenance.h"

#include "ado/error.h"

namespace tarnwick::cli {
namespace {

constexpr TextView kNoRecord = u"No Record found for ID: ";

enum class Locking { kDone, kMissing };

// A wait that was given up leaves no message of its own, only the account of the reload that found
// no row to load from; every other failure says what it is.
bool wait_given_up(TextView account) {
  return account.empty() || (account.starts_with(u"\r\nError in Component: 'General'") &&
                             account.find(u"Error #:    \t3021\r\n") != TextView::npos);
}

Locking try_lock(Client& client, Record& record, const std::string& what) {
  if (record.lock_record()) return Locking::kDone;
  const Text account = client.last_error_msg();
  if (account.starts_with(kNoRecord)) return Locking::kMissing;
  if (wait_given_up(account)) {
    throw Failure(ExitCode::kLocked,
                  fmt::format("{} is being maintained by another process.", what));
  }
  throw Failure(tells_of_lock(account) ? ExitCode::kLocked : ExitCode::kFailed,
                fmt::format("{} cannot be read.", what), account);
}

}  // namespace

bool tells_of_lock(TextView account) {
  return account.find(u"Record is currently being updated by another process!") != TextView::npos ||
         account.find(u"Unable to update, record is locked!") != TextView::npos ||
         account.find(ado::kLockTimeoutText) != TextView::npos;
}

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

void refuse_update(UpdateErrorEnum result, const std::string& what, TextView account) {
  const bool locked = result == Locked_ue || tells_of_lock(account);
  throw Failure(locked ? ExitCode::kLocked : ExitCode::kFailed,
                fmt::format("{} was not written.", what), account);
}

bool inserted_row(Client& client) { return client.last_error_msg().starts_with(kNoRecord); }

}  // namespace tarnwick::cli
