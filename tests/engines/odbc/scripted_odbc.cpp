#include "tests/engines/odbc/scripted_odbc.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "runtime/conversions.h"

namespace tarnwick::odbc_test {
namespace {

using odbc::Diagnostic;
using odbc::SqlType;

void copy_text(TextView text, SQLWCHAR* out, SQLSMALLINT capacity, SQLSMALLINT* length) {
  if (length != nullptr) *length = static_cast<SQLSMALLINT>(text.size());
  if (out == nullptr || capacity <= 0) return;
  const std::size_t fits = std::min(text.size(), static_cast<std::size_t>(capacity) - 1);
  std::memcpy(out, text.data(), fits * sizeof(char16_t));
  out[fits] = 0;
}

Text text_at(SQLWCHAR* text, SQLINTEGER length) {
  const auto* units = reinterpret_cast<const char16_t*>(text);
  if (units == nullptr) return {};
  return length == SQL_NTS ? Text(units) : Text(units, static_cast<std::size_t>(length));
}

// Options that every session sets; their log lines would only be in the way.
bool is_option(TextView statement) {
  return statement.starts_with(u"SET TEXTSIZE") || statement.starts_with(u"IF EXISTS (SELECT 1");
}

}  // namespace

SqlType wide_text(SQLULEN size) { return {.code = SQL_WVARCHAR, .size = size}; }
SqlType narrow_text(SQLULEN size) { return {.code = SQL_VARCHAR, .size = size}; }
SqlType long_text() { return {.code = SQL_WLONGVARCHAR, .size = 0}; }
SqlType long_bytes() { return {.code = SQL_LONGVARBINARY, .size = 0}; }
SqlType small_integer() { return {.code = SQL_SMALLINT, .size = 5}; }

Reply fails(std::string state, std::int32_t native, Text text) {
  Reply reply;
  reply.error = Diagnostic{std::move(state), native, std::move(text)};
  return reply;
}

ScriptedOdbc::ScriptedOdbc() {
  on(u"SELECT XACT_STATE()",
     {{.columns = {{u"", {.code = SQL_SMALLINT, .size = 5}}}, .rows = {{std::int16_t{1}}}}});
}

void ScriptedOdbc::on(TextView part, std::vector<Reply> replies) {
  rules_.push_front({Text(part), {replies.begin(), replies.end()}});
}

void ScriptedOdbc::set_key(Text table, std::vector<std::pair<Text, Text>> schema_and_column) {
  keys_[std::move(table)] = std::move(schema_and_column);
}

void ScriptedOdbc::set_unique(Text table, std::vector<Text> columns) {
  unique_[std::move(table)] = std::move(columns);
}

std::vector<Text> ScriptedOdbc::take_log() { return std::exchange(log_, {}); }

void ScriptedOdbc::log(Text line) { log_.push_back(std::move(line)); }

SQLRETURN ScriptedOdbc::fail(SQLHANDLE handle, const Diagnostic& diagnostic) {
  at(handle).diagnostics = {diagnostic};
  return SQL_ERROR;
}

SQLRETURN ScriptedOdbc::alloc_handle(SQLSMALLINT type, SQLHANDLE /*input*/, SQLHANDLE* output) {
  auto handle = std::make_unique<Handle>();
  handle->type = type;
  *output = handle.get();
  handles_.insert(std::move(handle));
  ++open_handles;
  return SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::free_handle(SQLSMALLINT /*type*/, SQLHANDLE handle) {
  std::erase_if(handles_, [&](const auto& owned) { return owned.get() == handle; });
  --open_handles;
  return SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::get_diag_rec(SQLSMALLINT /*type*/, SQLHANDLE handle, SQLSMALLINT record,
                                     SQLWCHAR* state, SQLINTEGER* native, SQLWCHAR* text,
                                     SQLSMALLINT capacity, SQLSMALLINT* length) {
  const auto& diagnostics = at(handle).diagnostics;
  const auto index = static_cast<std::size_t>(record - 1);
  if (index >= diagnostics.size()) return SQL_NO_DATA;
  const Diagnostic& diagnostic = diagnostics[index];
  copy_text(from_utf8(diagnostic.sqlstate), state, 6, nullptr);
  *native = diagnostic.native;
  copy_text(diagnostic.text, text, capacity, length);
  return *length >= capacity ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::set_env_attr(SQLHENV env, SQLINTEGER attribute, SQLPOINTER value,
                                     SQLINTEGER /*length*/) {
  if (env == SQL_NULL_HANDLE && attribute == SQL_ATTR_CONNECTION_POOLING) {
    log(reinterpret_cast<std::uintptr_t>(value) == SQL_CP_OFF ? u"pooling off" : u"pooling on");
  }
  return SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::drivers(SQLHENV /*env*/, SQLUSMALLINT direction, SQLWCHAR* name,
                                SQLSMALLINT name_capacity, SQLSMALLINT* name_length,
                                SQLWCHAR* attributes, SQLSMALLINT attributes_capacity,
                                SQLSMALLINT* attributes_length) {
  if (direction == SQL_FETCH_FIRST) next_driver_ = 0;
  if (next_driver_ == installed.size()) return SQL_NO_DATA;
  copy_text(installed[next_driver_++], name, name_capacity, name_length);
  copy_text(u"", attributes, attributes_capacity, attributes_length);
  return SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::set_connect_attr(SQLHDBC dbc, SQLINTEGER attribute, SQLPOINTER value,
                                         SQLINTEGER length) {
  const auto number = reinterpret_cast<std::uintptr_t>(value);
  switch (attribute) {
    case SQL_ATTR_AUTOCOMMIT:
      log(number == SQL_AUTOCOMMIT_ON ? u"autocommit on" : u"autocommit off");
      if (number == SQL_AUTOCOMMIT_ON && auto_commit_on_error) {
        return fail(dbc, *auto_commit_on_error);
      }
      break;
    case SQL_ATTR_CURRENT_CATALOG:
      log(join({u"database ", text_at(static_cast<SQLWCHAR*>(value), length)}));
      if (database_error) return fail(dbc, *database_error);
      break;
    case SQL_ATTR_LOGIN_TIMEOUT:
      log(join({u"login timeout ", decimal(static_cast<std::int64_t>(number))}));
      break;
    case SQL_ATTR_CONNECTION_TIMEOUT:
      log(join({u"general timeout ", decimal(static_cast<std::int64_t>(number))}));
      break;
    case SQL_ATTR_PACKET_SIZE:
      log(join({u"packet size ", decimal(static_cast<std::int64_t>(number))}));
      break;
    default:
      break;
  }
  return SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::get_connect_attr(SQLHDBC /*dbc*/, SQLINTEGER attribute, SQLPOINTER value,
                                         SQLINTEGER /*capacity*/, SQLINTEGER* /*length*/) {
  if (attribute != SQL_ATTR_CONNECTION_DEAD) return SQL_ERROR;
  *static_cast<SQLUINTEGER*>(value) = dead ? SQL_CD_TRUE : SQL_CD_FALSE;
  return SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::driver_connect(SQLHDBC dbc, SQLHWND /*window*/, SQLWCHAR* text,
                                       SQLSMALLINT length, SQLWCHAR* /*completed*/,
                                       SQLSMALLINT /*capacity*/, SQLSMALLINT* /*completed_length*/,
                                       SQLUSMALLINT /*completion*/) {
  log(join({u"connect ", text_at(text, length)}));
  if (connect_errors.empty()) return SQL_SUCCESS;
  at(dbc).diagnostics = connect_errors;
  return SQL_ERROR;
}

SQLRETURN ScriptedOdbc::disconnect(SQLHDBC /*dbc*/) {
  log(u"disconnect");
  return SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::get_info(SQLHDBC /*dbc*/, SQLUSMALLINT type, SQLPOINTER value,
                                 SQLSMALLINT capacity, SQLSMALLINT* length) {
  Text answer = u"\"";
  if (type == SQL_DBMS_NAME) answer = dbms;
  if (type == SQL_DRIVER_NAME) answer = driver_file;
  copy_text(answer, static_cast<SQLWCHAR*>(value),
            static_cast<SQLSMALLINT>(static_cast<std::size_t>(capacity) / sizeof(char16_t)),
            length);
  return SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::end_tran(SQLSMALLINT /*type*/, SQLHANDLE handle, SQLSMALLINT completion) {
  log(completion == SQL_COMMIT ? u"commit" : u"rollback");
  if (completion == SQL_COMMIT && commit_error) return fail(handle, *commit_error);
  return SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::set_stmt_attr(SQLHSTMT stmt, SQLINTEGER attribute, SQLPOINTER value,
                                      SQLINTEGER /*length*/) {
  Handle& handle = at(stmt);
  switch (attribute) {
    case SQL_ATTR_ROW_ARRAY_SIZE:
      handle.array = reinterpret_cast<std::uintptr_t>(value);
      largest_array = std::max(largest_array, handle.array);
      break;
    case SQL_ATTR_ROW_STATUS_PTR:
      handle.statuses = static_cast<SQLUSMALLINT*>(value);
      break;
    case SQL_ATTR_ROWS_FETCHED_PTR:
      handle.fetched = static_cast<SQLULEN*>(value);
      break;
    default:
      break;
  }
  return SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::exec_direct(SQLHSTMT stmt, SQLWCHAR* text, SQLINTEGER length) {
  Handle& handle = at(stmt);
  handle.statement = text_at(text, length);
  for (const Parameter& parameter : handle.parameters) {
    if (*parameter.indicator <= SQL_LEN_DATA_AT_EXEC_OFFSET) return SQL_NEED_DATA;
  }
  return answer(handle);
}

SQLRETURN ScriptedOdbc::answer(Handle& handle) {
  if (logs_options || !is_option(handle.statement)) {
    log(join({u"exec ", handle.statement, describe_parameters(handle)}));
  }
  const auto rule = std::find_if(rules_.begin(), rules_.end(), [&](const Rule& candidate) {
    return handle.statement.find(candidate.part) != Text::npos;
  });
  if (rule == rules_.end()) {
    handle.reply = {};
  } else {
    handle.reply = rule->replies.front();
    if (rule->replies.size() > 1) rule->replies.pop_front();
  }
  if (handle.reply.error) return fail(&handle, *handle.reply.error);
  return handle.reply.no_data ? SQL_NO_DATA : SQL_SUCCESS;
}

Text ScriptedOdbc::describe_parameters(Handle& handle) const {
  Text line;
  for (const Parameter& parameter : handle.parameters) {
    line += line.empty() ? u" <- " : u", ";
    const SQLLEN length = *parameter.indicator;
    if (length == SQL_NULL_DATA) {
      line += u"null";
    } else if (length <= SQL_LEN_DATA_AT_EXEC_OFFSET) {
      line += join({decimal(static_cast<std::int64_t>(parameter.put)), u" bytes in pieces"});
    } else if (parameter.c_type == SQL_C_WCHAR) {
      line += join({u"'",
                    TextView(static_cast<const char16_t*>(parameter.value),
                             static_cast<std::size_t>(length) / sizeof(char16_t)),
                    u"'"});
    } else if (parameter.c_type == SQL_C_SSHORT) {
      line += decimal(*static_cast<const SQLSMALLINT*>(parameter.value));
    } else if (parameter.c_type == SQL_C_BINARY) {
      line += join({decimal(length), u" bytes"});
    } else {
      line += join({u"type ", decimal(parameter.sql_type)});
    }
  }
  return line;
}

SQLRETURN ScriptedOdbc::num_result_cols(SQLHSTMT stmt, SQLSMALLINT* count) {
  *count = static_cast<SQLSMALLINT>(at(stmt).reply.columns.size());
  return SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::describe_col(SQLHSTMT stmt, SQLUSMALLINT column, SQLWCHAR* name,
                                     SQLSMALLINT capacity, SQLSMALLINT* length, SQLSMALLINT* type,
                                     SQLULEN* size, SQLSMALLINT* digits, SQLSMALLINT* nullable) {
  const ScriptedColumn& described = at(stmt).reply.columns.at(column - 1u);
  copy_text(described.name, name, capacity, length);
  *type = described.type.code;
  *size = described.type.size;
  *digits = described.type.digits;
  *nullable = SQL_NULLABLE;
  return *length >= capacity ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::bind_col(SQLHSTMT stmt, SQLUSMALLINT column, SQLSMALLINT c_type,
                                 SQLPOINTER buffer, SQLLEN capacity, SQLLEN* indicator) {
  Handle& handle = at(stmt);
  handle.bound.resize(std::max<std::size_t>(handle.bound.size(), column));
  handle.bound[column - 1u] = {c_type, static_cast<std::byte*>(buffer),
                               static_cast<std::size_t>(capacity), indicator};
  return SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::fetch(SQLHSTMT stmt) {
  Handle& handle = at(stmt);
  const Reply& reply = handle.reply;
  if (handle.row == reply.rows.size()) {
    if (reply.fetch_error && !fails_by_row_status) return fail(stmt, *reply.fetch_error);
    if (!reply.fetch_error) return SQL_NO_DATA;
  }
  SQLRETURN result = SQL_SUCCESS;
  SQLULEN block = 0;
  handle.current = handle.row;
  handle.part = {};
  while (block < handle.array && handle.row < reply.rows.size()) {
    for (std::size_t column = 0; column < handle.bound.size(); ++column) {
      const Bound& bound = handle.bound[column];
      std::size_t given = 0;
      const SQLRETURN gave =
          give(reply.rows[handle.row][column], bound.c_type, bound.values + block * bound.capacity,
               bound.capacity, bound.indicators + block, given);
      if (gave != SQL_SUCCESS) result = gave;
    }
    handle.statuses[block] = SQL_ROW_SUCCESS;
    ++handle.row;
    ++block;
  }
  if (fails_by_row_status && reply.fetch_error && block < handle.array) {
    handle.statuses[block++] = SQL_ROW_ERROR;
    handle.diagnostics = {*reply.fetch_error};
    result = SQL_SUCCESS_WITH_INFO;
  }
  *handle.fetched = block;
  return result;
}

SQLRETURN ScriptedOdbc::give(const Variant& value, SQLSMALLINT c_type, std::byte* buffer,
                             std::size_t capacity, SQLLEN* indicator, std::size_t& given) {
  if (is_null(value)) {
    *indicator = SQL_NULL_DATA;
    return SQL_SUCCESS;
  }
  if (c_type == SQL_C_SSHORT) {
    const SQLSMALLINT number = to_int16(value);
    std::memcpy(buffer, &number, sizeof number);
    *indicator = sizeof number;
    return SQL_SUCCESS;
  }
  const bool is_wide = c_type == SQL_C_WCHAR;
  const Text text = is_wide ? to_text(value) : Text();
  const Bytes bytes = is_wide ? Bytes() : to_bytes(Variant(value));
  const auto* data = is_wide ? reinterpret_cast<const std::byte*>(text.data()) : bytes.data();
  const std::size_t size = is_wide ? text.size() * sizeof(char16_t) : bytes.size();
  const std::size_t left = size - given;
  const std::size_t room = is_wide ? capacity - sizeof(char16_t) : capacity;
  const bool cut = left > room;
  std::size_t part = cut ? room : left;
  if (cut && is_wide) part -= short_by * sizeof(char16_t);
  if (part != 0) std::memcpy(buffer, data + given, part);
  if (is_wide) std::memset(buffer + part, 0, sizeof(char16_t));
  *indicator = hides_lengths && cut ? SQL_NO_TOTAL : static_cast<SQLLEN>(left);
  given += part;
  return cut ? SQL_SUCCESS_WITH_INFO : SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::get_data(SQLHSTMT stmt, SQLUSMALLINT column, SQLSMALLINT c_type,
                                 SQLPOINTER buffer, SQLLEN capacity, SQLLEN* indicator) {
  Handle& handle = at(stmt);
  if (column <= handle.bound.size() || handle.array != 1 || column < handle.part.column) {
    // Microsoft's driver gives parts out in order, behind the bound columns, for single rows.
    return fail(stmt, {"HY109", 0, u"invalid cursor position"});
  }
  if (handle.part.column != column) handle.part = {.column = column};
  if (handle.part.done) return SQL_NO_DATA;
  const SQLRETURN result =
      give(handle.reply.rows[handle.current][column - 1u], c_type, static_cast<std::byte*>(buffer),
           static_cast<std::size_t>(capacity), indicator, handle.part.given);
  handle.part.done = result == SQL_SUCCESS;
  return result;
}

SQLRETURN ScriptedOdbc::row_count(SQLHSTMT stmt, SQLLEN* count) {
  *count = at(stmt).reply.row_count;
  return SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::more_results(SQLHSTMT stmt) {
  const auto error = std::exchange(at(stmt).reply.later_error, std::nullopt);
  return error ? fail(stmt, *error) : SQL_NO_DATA;
}

SQLRETURN ScriptedOdbc::bind_parameter(SQLHSTMT stmt, SQLUSMALLINT /*number*/,
                                       SQLSMALLINT /*direction*/, SQLSMALLINT c_type,
                                       SQLSMALLINT sql_type, SQLULEN /*size*/,
                                       SQLSMALLINT /*digits*/, SQLPOINTER value,
                                       SQLLEN /*capacity*/, SQLLEN* indicator) {
  at(stmt).parameters.push_back({c_type, sql_type, value, indicator});
  return SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::param_data(SQLHSTMT stmt, SQLPOINTER* token) {
  Handle& handle = at(stmt);
  while (handle.next_parameter < handle.parameters.size()) {
    const Parameter& parameter = handle.parameters[handle.next_parameter++];
    if (*parameter.indicator > SQL_LEN_DATA_AT_EXEC_OFFSET) continue;
    *token = parameter.value;
    return SQL_NEED_DATA;
  }
  return answer(handle);
}

SQLRETURN ScriptedOdbc::put_data(SQLHSTMT stmt, SQLPOINTER /*data*/, SQLLEN length) {
  if (put_error) return fail(stmt, *put_error);
  Handle& handle = at(stmt);
  handle.parameters[handle.next_parameter - 1].put += static_cast<std::size_t>(length);
  put_sizes.push_back(static_cast<std::size_t>(length));
  return SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::cancel(SQLHSTMT /*stmt*/) {
  log(u"cancel");
  return SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::list_columns(Handle& handle, Reply reply) {
  handle.reply = std::move(reply);
  return SQL_SUCCESS;
}

SQLRETURN ScriptedOdbc::primary_keys(SQLHSTMT stmt, SQLWCHAR* catalog, SQLSMALLINT catalog_length,
                                     SQLWCHAR* schema, SQLSMALLINT schema_length, SQLWCHAR* table,
                                     SQLSMALLINT table_length) {
  const Text name = text_at(table, table_length);
  log(join({u"keys [", text_at(catalog, catalog_length), u"] [", text_at(schema, schema_length),
            u"] [", name, u"]"}));
  if (catalog_error) return fail(stmt, *catalog_error);
  Reply reply;
  reply.columns = {{u"TABLE_CAT", wide_text(128)},
                   {u"TABLE_SCHEM", wide_text(128)},
                   {u"TABLE_NAME", wide_text(128)},
                   {u"COLUMN_NAME", wide_text(128)},
                   {u"KEY_SEQ", small_integer()}};
  std::int16_t sequence = 0;
  for (const auto& [owner, column] : keys_[name]) {
    reply.rows.push_back({Null{}, owner, name, column, ++sequence});
  }
  return list_columns(at(stmt), std::move(reply));
}

SQLRETURN ScriptedOdbc::special_columns(SQLHSTMT stmt, SQLUSMALLINT /*kind*/, SQLWCHAR* /*catalog*/,
                                        SQLSMALLINT /*catalog_length*/, SQLWCHAR* /*schema*/,
                                        SQLSMALLINT /*schema_length*/, SQLWCHAR* table,
                                        SQLSMALLINT table_length, SQLUSMALLINT /*scope*/,
                                        SQLUSMALLINT /*nullable*/) {
  if (catalog_error) return fail(stmt, *catalog_error);
  Reply reply;
  reply.columns = {{u"SCOPE", small_integer()}, {u"COLUMN_NAME", wide_text(128)}};
  for (const Text& column : unique_[text_at(table, table_length)]) {
    reply.rows.push_back({std::int16_t{2}, column});
  }
  return list_columns(at(stmt), std::move(reply));
}

}  // namespace tarnwick::odbc_test
