#include "ado/recordset.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "ado/error.h"
#include "runtime/case_mapping.h"

namespace tarnwick::ado {
namespace {

constexpr std::size_t kAllRows = std::numeric_limits<std::size_t>::max();

// For the trace, by the values of the enumerations.
constexpr TextView kTypeWords[] = {u"forward-only", u"keyset", u"dynamic", u"static"};
constexpr TextView kLockWords[] = {u"", u"read-only", u"pessimistic", u"optimistic", u"batch"};

}  // namespace

Recordset::~Recordset() { drop_rows(); }

void Recordset::set_active_connection(std::shared_ptr<Connection> connection) {
  require_closed();
  connection_ = std::move(connection);
  if (connection_) location_ = connection_->cursor_location();
}

void Recordset::set_cursor_location(CursorLocation value) {
  require_closed();
  location_ = value;
}

void Recordset::set_cursor_type(CursorType value) {
  require_closed();
  type_ = value;
}

void Recordset::set_lock_type(LockType value) {
  require_closed();
  lock_ = value;
}

void Recordset::set_held_rows(HeldRowReading value) {
  require_closed();
  held_rows_ = value;
}

CursorType Recordset::cursor_type() const {
  return location_ == CursorLocation::kClient ? CursorType::kStatic : type_;
}

void Recordset::open(TextView statement, std::int32_t options) {
  require_closed();
  if (!connection_ || connection_->state() != ObjectState::kOpen) {
    throw AdoError(AdoErrorNumber::kInvalidConnection);
  }
  Connection::require_command_text(options);
  const RowsetRequest request{.statement = statement,
                              .location = location_,
                              .type = cursor_type(),
                              .lock = lock_,
                              .held_rows = held_rows_};
  connection_->trace_line(u"Open ", location_ == CursorLocation::kClient ? u"client" : u"server",
                          u" ", kTypeWords[static_cast<std::size_t>(request.type)], u" ",
                          kLockWords[static_cast<std::size_t>(lock_)], u": ", statement);

  connection_->engine_step([&](EngineSession& session) { rowset_ = session.open(request); });
  if (rowset_->columns().empty()) {
    rowset_.reset();
    return;
  }
  connection_->open_recordsets_.push_back(this);
  try {
    rows_ = std::make_shared<RowBuffer>(rowset_->columns().size());
    cells_.resize(rowset_->columns().size());
    fetch_next(holds_all_rows() ? kAllRows : 1);
  } catch (...) {
    drop_rows();
    throw;
  }
}

void Recordset::close() {
  require_open();
  if (edit_mode_ != EditMode::kNone) throw AdoError(AdoErrorNumber::kIllegalOperation);
  drop_rows();
}

ObjectState Recordset::state() const { return rowset_ ? ObjectState::kOpen : ObjectState::kClosed; }

bool Recordset::bof() const { return eof() && rows_seen_ == 0; }

bool Recordset::eof() const {
  require_open();
  return at_end_ && edit_mode_ != EditMode::kAdd;
}

std::int64_t Recordset::record_count() const {
  require_open();
  return holds_all_rows() ? static_cast<std::int64_t>(rows_->rows()) : -1;
}

void Recordset::move_first() {
  require_open();
  finish_edit();
  if (rows_seen_ == 0) throw AdoError(AdoErrorNumber::kNoCurrentRecord);
  if (holds_all_rows()) {
    stand_on(0);
  } else if (rows_seen_ != 1 || !on_row_) {
    throw AdoError(AdoErrorNumber::kIllegalOperation);
  }
}

void Recordset::move_next() {
  require_open();
  finish_edit();
  if (at_end_) throw AdoError(AdoErrorNumber::kNoCurrentRecord);
  if (!holds_all_rows() && !last_row_) {
    fetch_next(1);
  } else if (row_ + 1 < rows_->rows()) {
    stand_on(row_ + 1);
  } else {
    stand_behind_last();
  }
}

std::size_t Recordset::field_count() const {
  require_open();
  return rowset_->columns().size();
}

Field Recordset::field(TextView name) {
  require_open();
  return {*this, column_of(name)};
}

Field Recordset::field(std::size_t index) {
  require_column(index);
  return {*this, index};
}

std::shared_ptr<const RowBuffer> Recordset::rows() const {
  require_open();
  if (!holds_all_rows()) throw AdoError(AdoErrorNumber::kFeatureNotAvailable);
  return rows_;
}

std::size_t Recordset::row() const {
  require_open();
  require_row();
  return row_;
}

std::span<const Cell> Recordset::cells() const {
  require_open();
  require_row();
  return cells_;
}

std::size_t Recordset::position_of(TextView name) const {
  require_open();
  return column_of(name);
}

void Recordset::add_new() {
  require_writable();
  finish_edit();
  edit_.assign(cells_.size(), std::nullopt);
  edit_mode_ = EditMode::kAdd;
}

void Recordset::update() {
  require_open();
  if (edit_mode_ == EditMode::kNone) return;
  std::vector<Assignment> assigned;
  assigned.reserve(edit_.size());
  for (std::size_t column = 0; column < edit_.size(); ++column) {
    if (edit_[column]) assigned.push_back({column, &*edit_[column]});
  }
  trace_edit(assigned);
  if (edit_mode_ == EditMode::kAdd) {
    insert_row(assigned);
  } else {
    write_row(assigned);
  }
}

void Recordset::cancel_update() {
  require_open();
  end_edit();
}

const Text& Recordset::name_of(std::size_t column) const {
  require_column(column);
  return rowset_->columns()[column].name;
}

Variant Recordset::value_at(std::size_t column) const {
  if (const Variant* assigned = assigned_value(column)) return *assigned;
  return edit_mode_ == EditMode::kAdd ? Variant(Null{}) : cells_[column].to_variant();
}

bool Recordset::is_null_at(std::size_t column) const {
  if (const Variant* assigned = assigned_value(column)) return is_null(*assigned);
  return edit_mode_ == EditMode::kAdd || cells_[column].is_null();
}

const Variant* Recordset::assigned_value(std::size_t column) const {
  require_column(column);
  require_row();
  return edit_mode_ != EditMode::kNone && edit_[column] ? &*edit_[column] : nullptr;
}

void Recordset::assign(std::size_t column, Variant value) {
  require_writable();
  require_column(column);
  require_row();
  if (const Date* date = std::get_if<Date>(&value); date != nullptr && !is_in_calendar(*date)) {
    throw Error(ErrorNumber::kInvalidProcedureCall);
  }
  if (edit_mode_ == EditMode::kNone) {
    edit_.assign(cells_.size(), std::nullopt);
    edit_mode_ = EditMode::kInProgress;
  }
  if (std::holds_alternative<Empty>(value)) value = Null{};
  edit_[column] = std::move(value);
}

void Recordset::require_open() const {
  if (!rowset_) throw AdoError(AdoErrorNumber::kObjectClosed);
}

void Recordset::require_closed() const {
  if (rowset_) throw AdoError(AdoErrorNumber::kObjectOpen);
}

void Recordset::require_column(std::size_t column) const {
  require_open();
  if (column >= cells_.size()) throw AdoError(AdoErrorNumber::kItemNotFound);
}

void Recordset::require_row() const {
  if (!on_row_ && edit_mode_ != EditMode::kAdd) throw AdoError(AdoErrorNumber::kNoCurrentRecord);
}

void Recordset::require_writable() const {
  require_open();
  if (lock_ == LockType::kReadOnly || lock_ == LockType::kBatchOptimistic) {
    throw AdoError(AdoErrorNumber::kFeatureNotAvailable);
  }
}

bool Recordset::holds_all_rows() const {
  if (location_ == CursorLocation::kClient) return true;
  return (type_ == CursorType::kStatic || type_ == CursorType::kKeyset) &&
         lock_ != LockType::kPessimistic;
}

std::size_t Recordset::column_of(TextView name) const {
  const std::vector<Column>& columns = rowset_->columns();
  for (std::size_t column = 0; column < columns.size(); ++column) {
    if (equals_ignoring_case(columns[column].name, name)) return column;
  }
  throw AdoError(AdoErrorNumber::kItemNotFound);
}

void Recordset::trace_edit(std::span<const Assignment> assigned) const {
  if (connection_->trace_ == nullptr) return;
  Text names;
  for (const Assignment& assignment : assigned) {
    names.append(names.empty() ? u" " : u", ").append(name_of(assignment.column));
  }
  connection_->trace_line(edit_mode_ == EditMode::kAdd ? u"Insert" : u"Update", names);
}

void Recordset::finish_edit() {
  if (edit_mode_ != EditMode::kNone) update();
}

void Recordset::end_edit() {
  edit_mode_ = EditMode::kNone;
  edit_.clear();
}

void Recordset::write_row(std::span<const Assignment> assigned) {
  connection_->engine_step([&](EngineSession&) { rowset_->update(cells_, assigned); });
  Overlay& overlay = written_[row_];
  overlay.resize(cells_.size());
  for (const Assignment& assignment : assigned) {
    std::optional<Variant>& value = overlay[assignment.column];
    value = std::move(edit_[assignment.column]);
    cells_[assignment.column] = Cell::of(*value);
  }
  end_edit();
}

void Recordset::insert_row(std::span<const Assignment> assigned) {
  connection_->engine_step([&](EngineSession&) { rowset_->insert(assigned); });
  if (!holds_all_rows()) rows_->clear();
  for (std::size_t column = 0; column < cells_.size(); ++column) rows_->add_null();
  rows_->end_row();
  ++rows_seen_;
  // The place first: without room for it the values must still be there.
  Overlay& overlay = written_[rows_->rows() - 1];
  overlay = std::move(edit_);
  end_edit();
  stand_on(rows_->rows() - 1);
  last_row_ = true;
}

void Recordset::fetch_next(std::size_t limit) {
  on_row_ = false;
  rows_->clear();
  written_.clear();
  connection_->engine_step([&](EngineSession&) { rowset_->fetch(*rows_, limit); });
  rows_seen_ += rows_->rows();
  if (rows_->rows() == 0) {
    stand_behind_last();
  } else {
    stand_on(0);
  }
}

void Recordset::stand_on(std::size_t row) {
  row_ = row;
  rows_->read_row(row, cells_);
  if (!written_.empty()) {
    if (const auto found = written_.find(row); found != written_.end()) {
      for (std::size_t column = 0; column < cells_.size(); ++column) {
        if (const auto& value = found->second[column]) cells_[column] = Cell::of(*value);
      }
    }
  }
  on_row_ = true;
  at_end_ = false;
  last_row_ = false;
}

void Recordset::stand_behind_last() {
  on_row_ = false;
  at_end_ = true;
}

void Recordset::drop_rows() {
  if (!rowset_) return;
  std::erase(connection_->open_recordsets_, this);
  rowset_.reset();
  end_edit();
  rows_.reset();
  cells_.clear();
  written_.clear();
  rows_seen_ = 0;
  on_row_ = false;
  at_end_ = false;
  last_row_ = false;
}

}  // namespace tarnwick::ado
