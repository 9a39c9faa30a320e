#include "engines/odbc/result.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "ado/error.h"
#include "engines/odbc/diagnostics.h"

namespace tarnwick::odbc {
namespace {

using ado::AdoError;
using ado::AdoErrorNumber;

// Bytes of bound values that a block of rows takes at most, and its rows at most: enough to make
// the calls to the driver few, small enough to stay in the processor's cache.
constexpr std::size_t kBlockBytes = std::size_t{256} << 10;
constexpr std::size_t kBlockRows = 1000;

// First part of a long value, in bytes: most values end in it.
constexpr std::size_t kPartBytes = std::size_t{64} << 10;

// Stands where a full part has its closing NUL; U+FFFF is no character.
constexpr char16_t kNotWritten = 0xFFFF;

[[noreturn]] void broken_off() {
  throw AdoError(AdoErrorNumber::kUnspecified,
                 u"The ODBC driver broke a long value off before its end.");
}

}  // namespace

Result::Result(Handle statement) : statement_(std::move(statement)) { describe(); }

void Result::describe() {
  SQLSMALLINT count = 0;
  statement_.check(statement_.api().num_result_cols(statement_.get(), &count));
  std::vector<char16_t> name(256);
  for (SQLSMALLINT i = 0; i < count; ++i) {
    SqlType type;
    SQLSMALLINT length = 0;
    SQLSMALLINT nullable = SQL_NULLABLE_UNKNOWN;
    const auto ask = [&] {
      statement_.check(
          statement_.api().describe_col(statement_.get(), static_cast<SQLUSMALLINT>(i + 1),
                                        wide(name.data()), static_cast<SQLSMALLINT>(name.size()),
                                        &length, &type.code, &type.size, &type.digits, &nullable));
    };
    ask();
    if (length >= 0 && static_cast<std::size_t>(length) >= name.size()) {
      name.resize(static_cast<std::size_t>(length) + 1);
      ask();
    }
    columns_.push_back({Text(name.begin(), std::find(name.begin(), name.end(), u'\0'))});
    types_.push_back(type);
    transfers_.push_back(transfer_of(type));
  }
}

void Result::bind() {
  is_bound_ = true;
  const auto first_long = std::find_if(transfers_.begin(), transfers_.end(),
                                       [](const Transfer& t) { return t.width == 0; });
  std::size_t row_bytes = 0;
  for (auto t = transfers_.begin(); t != first_long; ++t) row_bytes += t->width + sizeof(SQLLEN);

  // Drivers give parts of a value out for a single row only, and behind the bound columns only.
  const bool one_by_one = first_long != transfers_.end();
  std::size_t rows =
      one_by_one ? 1 : std::clamp(kBlockBytes / row_bytes, std::size_t{1}, kBlockRows);
  const auto set = [&](SQLINTEGER attribute, SQLPOINTER value) {
    return statement_.api().set_stmt_attr(statement_.get(), attribute, value, 0);
  };
  const SQLRETURN sized = set(SQL_ATTR_ROW_ARRAY_SIZE, attribute_value(rows));
  if (!SQL_SUCCEEDED(sized)) rows = 1;
  statuses_.resize(rows);
  statement_.check(set(SQL_ATTR_ROW_STATUS_PTR, statuses_.data()));
  statement_.check(set(SQL_ATTR_ROWS_FETCHED_PTR, &fetched_));

  bound_.resize(static_cast<std::size_t>(first_long - transfers_.begin()));
  for (std::size_t i = 0; i < bound_.size(); ++i) {
    const Transfer& transfer = transfers_[i];
    bound_[i].values.resize(rows * transfer.width);
    bound_[i].lengths.resize(rows);
    statement_.check(statement_.api().bind_col(
        statement_.get(), static_cast<SQLUSMALLINT>(i + 1), transfer.c_type,
        bound_[i].values.data(), static_cast<SQLLEN>(transfer.width), bound_[i].lengths.data()));
  }
}

void Result::read(ado::RowBuffer& rows, std::size_t limit) {
  if (over_ || columns_.empty()) return;
  try {
    if (!is_bound_) bind();
    for (std::size_t read = 0; read < limit; ++read) {
      if (next_in_block_ == fetched_ && !next_block()) {
        finish();
        return;
      }
      append_row(rows);
    }
  } catch (...) {
    rows.abandon_row();
    over_ = true;
    throw;
  }
}

void Result::finish() {
  if (over_) return;
  over_ = true;
  // Errors of the later statements of a batch, of triggers for instance, come with their results.
  while (true) {
    const SQLRETURN result = statement_.api().more_results(statement_.get());
    if (result == SQL_NO_DATA) return;
    statement_.check(result);
  }
}

bool Result::next_block() {
  next_in_block_ = 0;
  fetched_ = 0;
  std::fill(statuses_.begin(), statuses_.end(), SQLUSMALLINT{SQL_ROW_SUCCESS});
  const SQLRETURN result = statement_.api().fetch(statement_.get());
  if (result == SQL_NO_DATA) return false;
  statement_.check(result);
  // A driver that knows no blocks need not count the one row that it fetched.
  if (statuses_.size() == 1) fetched_ = 1;
  fetched_ = std::min<SQLULEN>(fetched_, statuses_.size());
  const auto end = statuses_.begin() + static_cast<std::ptrdiff_t>(fetched_);
  if (std::find(statuses_.begin(), end, SQL_ROW_ERROR) != end) raise_diagnostics(statement_);
  return fetched_ != 0;
}

void Result::append_row(ado::RowBuffer& rows) {
  const std::size_t row = next_in_block_++;
  for (std::size_t i = 0; i < bound_.size(); ++i) {
    append_value(rows, transfers_[i], bound_[i].values.data() + row * transfers_[i].width,
                 bound_[i].lengths[row]);
  }
  for (std::size_t i = bound_.size(); i < columns_.size(); ++i) append_unbound(rows, i);
  rows.end_row();
}

void Result::append_unbound(ado::RowBuffer& rows, std::size_t column) {
  const Transfer& transfer = transfers_[column];
  if (part_.empty()) part_.resize(kPartBytes / sizeof(char16_t));
  if (transfer.width != 0) {
    SQLLEN length = SQL_NULL_DATA;
    if (!get_part(column, transfer.c_type, part_.data(), transfer.width, length)) broken_off();
    append_value(rows, transfer, reinterpret_cast<const std::byte*>(part_.data()), length);
  } else if (transfer.form == Transfer::Form::kBytes) {
    append_long_bytes(rows, column);
  } else {
    append_long_text(rows, column);
  }
}

void Result::append_long_text(ado::RowBuffer& rows, std::size_t column) {
  const std::size_t room = part_.size() - 1;  // each part ends in a NUL
  Text text;
  SQLLEN left_before = SQL_NO_TOTAL;
  std::size_t part_before = 0;
  while (true) {
    SQLLEN left = 0;
    part_[room] = kNotWritten;
    if (!get_part(column, SQL_C_WCHAR, part_.data(), part_.size() * sizeof(char16_t), left)) break;
    if (left == SQL_NULL_DATA) {
      rows.add_null();
      return;
    }
    if (left >= 0 && left <= left_before) {
      // A driver that does not break a pair of surrogates apart delivered a little less.
      const auto delivered = static_cast<std::size_t>(left_before - left) / sizeof(char16_t);
      if (delivered < part_before) text.resize(text.size() - (part_before - delivered));
    }
    left_before = left;
    const bool known = left >= 0;
    const std::size_t units = static_cast<std::size_t>(left) / sizeof(char16_t);
    if (known && units <= room) {
      text.append(part_.data(), units);
      break;
    }
    const bool full = known || part_[room] == u'\0';
    part_before = full ? room : Text::traits_type::length(part_.data());
    text.append(part_.data(), part_before);
  }
  rows.add_utf16(text);
}

void Result::append_long_bytes(ado::RowBuffer& rows, std::size_t column) {
  SQLLEN length = 0;
  if (!get_part(column, SQL_C_BINARY, part_.data(), kPartBytes, length)) {
    rows.add_bytes(Bytes());
  } else if (length == SQL_NULL_DATA) {
    rows.add_null();
  } else if (length < 0) {
    append_bytes_to_end(rows, column);
  } else if (static_cast<std::size_t>(length) <= kPartBytes) {
    rows.add_bytes(std::as_bytes(std::span(part_)).first(static_cast<std::size_t>(length)));
  } else {
    append_bytes_of_size(rows, column, static_cast<std::size_t>(length));
  }
}

// The first part is in `part_`; the driver writes the rest to its place.
void Result::append_bytes_of_size(ado::RowBuffer& rows, std::size_t column, std::size_t size) {
  ByteBuffer room(size);
  std::memcpy(room.data(), part_.data(), kPartBytes);
  std::size_t have = kPartBytes;
  while (have < size) {
    SQLLEN length = 0;
    if (!get_part(column, SQL_C_BINARY, room.data() + have, size - have, length)) broken_off();
    const std::size_t asked = size - have;
    if (length < 0 || static_cast<std::size_t>(length) >= asked) {
      have = size;
    } else if (length == 0) {
      broken_off();
    } else {
      have += static_cast<std::size_t>(length);
    }
  }
  rows.add_bytes(Bytes(std::move(room)));
}

// The first part is in `part_`; the driver does not know how much is left.
void Result::append_bytes_to_end(ado::RowBuffer& rows, std::size_t column) {
  const std::span<const std::byte> first = std::as_bytes(std::span(part_)).first(kPartBytes);
  std::vector<std::byte> value(first.begin(), first.end());
  while (true) {
    const std::size_t have = value.size();
    value.resize(have * 2);
    SQLLEN length = 0;
    if (!get_part(column, SQL_C_BINARY, value.data() + have, have, length)) {
      value.resize(have);
      break;
    }
    if (length >= 0 && static_cast<std::size_t>(length) <= have) {
      value.resize(have + static_cast<std::size_t>(length));
      break;
    }
  }
  rows.add_bytes(Bytes(std::move(value)));
}

bool Result::get_part(std::size_t column, SQLSMALLINT c_type, void* buffer, std::size_t capacity,
                      SQLLEN& length) {
  const SQLRETURN result =
      statement_.api().get_data(statement_.get(), static_cast<SQLUSMALLINT>(column + 1), c_type,
                                buffer, static_cast<SQLLEN>(capacity), &length);
  if (result == SQL_NO_DATA) return false;
  statement_.check(result);
  return true;
}

}  // namespace tarnwick::odbc
