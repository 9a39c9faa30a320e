#include "records/row_fetch.h"

#include <optional>
#include <vector>

#include "ado/error.h"
#include "records/computer_name.h"
#include "runtime/conversions.h"
#include "state/guard.h"

namespace tarnwick {
namespace {

using platform::Answer;

std::vector<TextView> split(TextView text, char16_t separator) {
  std::vector<TextView> parts;
  for (;;) {
    const std::size_t end = text.find(separator);
    parts.push_back(text.substr(0, end));
    if (end == TextView::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

// An id as it stands in a statement: a 16-bit number, or error 6 or 13.
Text id_text(TextView id) { return decimal(to_int16(Text(id))); }

// Keys go into the statements as they stand: a quote in one ends the text there, and what follows
// is read as part of the statement.
Text component_statement(SharedState& state, TextView key) {
  if (!is_numeric(key)) {
    raise_message(state, join({u"Non-numeric ID '", key, u"' passed for component ID!"}));
  }
  return join({u"Select * From DW_SEC_COMP Where CompID = ", id_text(key)});
}

Text report_statement(TextView key) {
  return join({u"Select * From DW_Reports Where ReportName = '", key, u"'"});
}

Text pc_statement(SharedState& state, TextView key) {
  const std::vector<TextView> parts = split(key, kKeySeparator);
  if (parts.size() < 3) {
    // The figure is the highest index, one less than the number of fields; an empty key has none.
    const std::int64_t highest = key.empty() ? -1 : static_cast<std::int64_t>(parts.size()) - 1;
    raise_message(
        state, join({u"There were only '", decimal(highest),
                     u"' fields passed in for the computer ID '", key, u"', unable to process!"}));
  }
  return join({u"Select * From DW_SEC_PC Where MACNbr = '", parts[0], u"' And ComputerID = '",
               parts[1], u"' And CompID = ", id_text(parts[2])});
}

Text statement_for(SharedState& state, TextView key, TableSelector table) {
  switch (table) {
    case TableSelector::kComponents:
      return component_statement(state, key);
    case TableSelector::kReports:
      return report_statement(key);
    case TableSelector::kPcs:
      break;
  }
  return pc_statement(state, key);
}

bool is_open(const ado::Recordset& recordset) {
  return recordset.state() == ado::ObjectState::kOpen;
}

// Of a recordset that was just opened.
bool shows_row(const ado::Recordset& recordset) { return !recordset.eof(); }

// One maintenance of one row, from the first attempt to the stamp.
class RowFetch {
 public:
  RowFetch(SharedState& state, TextView key, Text statement,
           std::shared_ptr<ado::Recordset> recordset)
      : state_(state),
        key_(key),
        statement_(std::move(statement)),
        recordset_(std::move(recordset)) {}

  FetchOutcome run() {
    try {
      return fetch();
    } catch (...) {
      // A fetch that fails hands out no recordset by which its transaction could be ended.
      if (in_transaction_) quietly([&] { connection().rollback_trans(); });
      throw;
    }
  }

 private:
  enum class Probe { kMissing, kCancelled, kTryAgain };

  FetchOutcome fetch() {
    for (bool known_missing = false;;) {
      begin();
      open_for_maintenance();
      if (shows_row(*recordset_)) {
        stamp();
        return FetchOutcome::kFound;
      }
      if (known_missing) {
        state_.errors.set_message(join({u"No Record found for ID: ", key_, u" SQL=", statement_}));
        return FetchOutcome::kMissing;
      }
      // No row to be seen: it is missing, or another process has it and the lock was not to be had.
      // A plain read tells which.
      roll_back();
      const Probe told = probe();
      if (told == Probe::kCancelled) return FetchOutcome::kCancelled;
      known_missing = told == Probe::kMissing;
    }
  }

  ado::Connection& connection() { return state_.require_connection(); }

  void begin() {
    if (is_open(*recordset_)) recordset_->close();
    connection().begin_trans();
    in_transaction_ = true;
  }

  void roll_back() {
    in_transaction_ = false;
    connection().rollback_trans();
  }

  void open_for_maintenance() {
    recordset_->set_active_connection(state_.connection);
    recordset_->set_cursor_location(ado::CursorLocation::kServer);
    recordset_->set_cursor_type(ado::CursorType::kDynamic);
    recordset_->set_lock_type(ado::LockType::kPessimistic);
    open_or_ask(*recordset_);
    if (is_open(*recordset_)) return;
    // Whatever the user answered: a statement that does not open at all is an error.
    state_.failures.note(refusal_);
    raise_message(state_, join({u"Error Opening Recordset! SQL=", statement_}));
  }

  Probe probe() {
    ado::Recordset reader;
    reader.set_active_connection(state_.connection);
    reader.set_cursor_location(ado::CursorLocation::kServer);
    reader.set_cursor_type(ado::CursorType::kForwardOnly);
    reader.set_lock_type(ado::LockType::kReadOnly);
    if (const auto answer = open_or_ask(reader)) {
      if (*answer == Answer::kRetry) return Probe::kTryAgain;
      state_.failures.note(refusal_);
      return Probe::kCancelled;
    }
    return is_open(reader) && !shows_row(reader) ? Probe::kMissing : Probe::kTryAgain;
  }

  // The lock handler: an open that fails, for whatever reason, is taken for a row lock and asks;
  // only a lost connection is what it is. Nothing when the open went through.
  std::optional<Answer> open_or_ask(ado::Recordset& recordset) {
    try {
      recordset.open(statement_, ado::kCommandText);
      return std::nullopt;
    } catch (const ado::ConnectionLost&) {
      throw;
    } catch (const Error&) {
      refusal_ = current_cause();
    }
    const Answer answer = state_.host.message_box().retry_or_cancel(
        u"Record is currently being updated by another process!", u"Record Lock Encountered",
        retried_);
    if (answer == Answer::kRetry) ++retried_;
    return answer;
  }

  void stamp() {
    recordset_->move_first();
    recordset_->field(u"SoftLock")
        .set_value(join({local_computer_name(state_.host), u" - ", to_text(state_.host.now())}));
    recordset_->update();
  }

  SharedState& state_;
  TextView key_;
  Text statement_;
  std::shared_ptr<ado::Recordset> recordset_;
  bool in_transaction_ = false;
  FailureCause refusal_;  // of the open that failed last
  std::uint32_t retried_ = 0;
};

bool commits(SharedState& state, ado::Connection& connection) {
  try {
    connection.commit_trans();
    return true;
  } catch (...) {
    note_cause_of_commit(state);
    return false;
  }
}

}  // namespace

FetchedRow update_read(SharedState& state, TextView key, TableSelector table) {
  return guarded(state, {u"General", u"UpdateRead"}, FetchedRow(), [&](FetchedRow& result) {
    auto recordset = make_under_step_text(state, u"Unable to create an ADODB.Recordset!",
                                          [] { return std::make_shared<ado::Recordset>(); });
    const FetchOutcome outcome =
        RowFetch(state, key, statement_for(state, key, table), recordset).run();
    result = {std::move(recordset), outcome};
  });
}

bool update_write(SharedState& state, ado::Recordset& row) {
  return guarded(state, {u"General", u"UpdateWrite"}, false,
                 [&](bool& result) {
                   row.field(u"SoftLock").set_value(Text());
                   row.update();
                   result = true;
                 }) &&
         [&] {
           const auto& connection = row.active_connection();
           if (commits(state, *connection)) return true;
           quietly([&] { connection->rollback_trans(); });
           raise_message(state, u"Unable to update, record is locked!");
         }();
}

bool update_release(ado::Recordset& row) {
  row.active_connection()->rollback_trans();
  return true;
}

}  // namespace tarnwick
