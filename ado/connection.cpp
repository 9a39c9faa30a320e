#include "ado/connection.h"

#include <exception>
#include <utility>

#include "ado/connection_string.h"
#include "ado/recordset.h"
#include "runtime/case_mapping.h"

namespace tarnwick::ado {
namespace {

Engine* engine_for(const Engines& engines, TextView provider) {
  for (Engine* engine : engines) {
    for (const TextView name : engine->providers()) {
      if (equals_ignoring_case(name, provider)) return engine;
    }
  }
  return nullptr;
}

}  // namespace

Connection::Connection(Engines engines, Trace* trace)
    : engines_(std::move(engines)), trace_(trace) {}

Connection::~Connection() {
  if (!session_) return;
  try {
    if (in_transaction_) {
      trace_line(u"Rollback");
      session_->rollback();
    }
    trace_line(u"Disconnect");
  } catch (const std::exception&) {
    // The end of the session rolls back by itself; nobody is left to hear of the error.
  }
  drop_session();
}

void Connection::set_connection_string(Text value) {
  if (session_) throw AdoError(AdoErrorNumber::kObjectOpen);
  connection_string_ = std::move(value);
}

void Connection::open(TextView connection_string, TextView user, TextView password,
                      std::int32_t options) {
  if (session_) throw AdoError(AdoErrorNumber::kObjectOpen);
  if (options != kOptionUnspecified) throw AdoError(AdoErrorNumber::kInvalidArgument);
  if (!connection_string.empty()) connection_string_ = connection_string;

  ConnectionString string = ConnectionString::parse(connection_string_);
  if (!user.empty()) string.set(u"User ID", Text(user));
  if (!password.empty()) string.set(u"Password", Text(password));
  Engine* engine = engine_for(engines_, string.find(u"Provider").value_or(Text()));
  if (engine == nullptr) throw AdoError(AdoErrorNumber::kProviderNotFound);

  if (trace_ != nullptr) {
    trace_line(u"Connect ", ConnectionString::without_passwords(connection_string_));
  }
  session_ = engine->connect(string);
}

void Connection::close() {
  require_open();
  if (in_transaction_ && session_->alive()) throw AdoError(AdoErrorNumber::kInTransaction);
  trace_line(u"Disconnect");
  drop_session();
}

ObjectState Connection::state() const {
  return session_ ? ObjectState::kOpen : ObjectState::kClosed;
}

void Connection::set_default_database(TextView name) {
  require_open();
  trace_line(u"DefaultDatabase ", name);
  engine_step([&](EngineSession& session) { session.set_default_database(name); });
  default_database_ = name;
}

void Connection::execute(TextView statement, std::int32_t options) {
  require_open();
  require_command_text(options);
  if (trace_ != nullptr) trace_line(u"Execute ", without_role_password(statement));
  engine_step([&](EngineSession& session) { session.execute(statement); });
}

void Connection::begin_trans() { begin_with(&EngineSession::begin); }

void Connection::begin_load() { begin_with(&EngineSession::begin_load); }

void Connection::begin_with(void (EngineSession::*begin)()) {
  require_open();
  if (in_transaction_) throw AdoError(AdoErrorNumber::kOneTransactionOnly);
  trace_line(u"Begin");
  engine_step([&](EngineSession& session) { (session.*begin)(); });
  in_transaction_ = true;
  ++transactions_;
}

void Connection::commit_trans() {
  require_transaction();
  trace_line(u"Commit");
  try {
    engine_step([](EngineSession& session) { session.commit(); });
  } catch (const ConnectionLost&) {
    throw;
  } catch (const AdoError& error) {
    trace_failure(error);
    throw;
  }
  in_transaction_ = false;
}

void Connection::rollback_trans() {
  require_transaction();
  try {
    trace_line(u"Rollback");
  } catch (...) {
    // The line is lost, and the transaction ends all the same.
  }
  in_transaction_ = false;
  rollback_due_ = true;
  engine_step([](EngineSession&) {});
}

void Connection::finish_rollback() {
  if (!rollback_due_) return;
  session_->rollback();
  rollback_due_ = false;
}

std::vector<HeldRow> Connection::held_rows() {
  require_open();
  return engine_step([](EngineSession& session) { return session.held_rows(); });
}

std::optional<HeldRow> Connection::holder_of(const RowName& row) {
  require_open();
  return engine_step([&](EngineSession& session) { return session.holder_of(row); });
}

Text Connection::byte_length_of(TextView column) {
  require_open();
  return engine_step([&](EngineSession& session) { return session.byte_length_of(column); });
}

std::optional<std::vector<Text>> Connection::columns_of(TextView table) {
  require_open();
  return engine_step([&](EngineSession& session) { return session.columns_of(table); });
}

void Connection::trace_failure(const AdoError& error) const {
  trace_line(u"Failed ", decimal(error.number()), u" ", decimal(error.native()), u": ",
             error.description());
}

void Connection::require_command_text(std::int32_t options) {
  const bool known =
      options == kOptionUnspecified || (options & ~(kCommandText | kExecuteNoRecords)) == 0;
  if (!known) throw AdoError(AdoErrorNumber::kInvalidArgument);
}

void Connection::require_open() const {
  if (!session_) throw AdoError(AdoErrorNumber::kObjectClosed);
}

void Connection::require_transaction() const {
  require_open();
  if (!in_transaction_) throw AdoError(AdoErrorNumber::kNoTransaction);
}

void Connection::drop_session() {
  // Each one that is dropped takes itself off the list.
  while (!open_recordsets_.empty()) open_recordsets_.back()->drop_rows();
  in_transaction_ = false;
  rollback_due_ = false;
  default_database_.clear();
  session_.reset();
}

}  // namespace tarnwick::ado
