#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "runtime/variant.h"

namespace tarnwick::ado {

/// One value of a row, still in the engine's form. Views point into what holds the value.
struct Cell {
  enum class Kind : std::uint8_t {
    kNull,
    kBool,
    kInt16,
    kInt32,
    kInt64,
    kDouble,
    kDate,
    kUtf8,
    kUtf16,
    kBytes,
  };
  Kind kind = Kind::kNull;
  std::int64_t integer = 0;         // kBool, kInt16, kInt32, kInt64
  double real = 0.0;                // kDouble, kDate
  const std::byte* data = nullptr;  // not aligned
  std::size_t size = 0;             // in bytes: kUtf8, kUtf16, kBytes
  const Bytes* shared = nullptr;    // kBytes: what `data` points into, where it can be shared

  /// A cell that views `value`; Empty becomes null.
  [[nodiscard]] static Cell of(const Variant& value);
  [[nodiscard]] static Cell of(const Bytes& value) {
    return {.kind = Kind::kBytes, .data = value.data(), .size = value.size(), .shared = &value};
  }

  /// The bytes of a text or of data.
  [[nodiscard]] std::string_view view() const {
    return {reinterpret_cast<const char*>(data), size};
  }
  /// Of a kBytes cell; copies only what cannot be shared.
  [[nodiscard]] Bytes bytes() const { return shared ? *shared : Bytes(data, data + size); }

  [[nodiscard]] bool is_null() const { return kind == Kind::kNull; }
  [[nodiscard]] Variant to_variant() const;
};

/// Rows packed one behind the other, as compact as the engine hands them out: what a cursor has
/// fetched. An engine appends the values of a row in column order and then calls `end_row`.
/// A value is its kind in one byte, then a number's bytes, or a length (7 bits a byte, low ones
/// first, the top bit set in all but the last byte) and as many bytes of text or data; for data of
/// kShared bytes and more, the place of the Bytes that hold it.
class RowBuffer {
 public:
  explicit RowBuffer(std::size_t columns) : columns_(columns) {}

  void add_null() { *take(1) = static_cast<std::byte>(Cell::Kind::kNull); }
  void add_bool(bool value) { add_number(Cell::Kind::kBool, static_cast<std::uint8_t>(value)); }
  void add_int16(std::int16_t value) { add_number(Cell::Kind::kInt16, value); }
  void add_int32(std::int32_t value) { add_number(Cell::Kind::kInt32, value); }
  void add_int64(std::int64_t value) { add_number(Cell::Kind::kInt64, value); }
  void add_double(double value) { add_number(Cell::Kind::kDouble, value); }
  void add_date(Date value) { add_number(Cell::Kind::kDate, value.days); }
  void add_utf8(std::string_view text) { add_run(Cell::Kind::kUtf8, text.data(), text.size()); }
  void add_utf16(TextView text) {
    add_run(Cell::Kind::kUtf16, text.data(), text.size() * sizeof(char16_t));
  }
  void add_bytes(std::span<const std::byte> bytes) {
    if (bytes.size() >= kShared) return add_bytes(Bytes(bytes.begin(), bytes.end()));
    add_run(Cell::Kind::kBytes, bytes.data(), bytes.size());
  }
  /// The same; long data is shared with `bytes`.
  void add_bytes(Bytes bytes);

  /// Ends a row. The row must have as many values as the buffer has columns.
  void end_row() {
    row_starts_.push_back(chunk_ + row_begin_);
    row_begin_ = used_;
    long_values_begin_ = long_values_.size();
  }
  /// Appends row `row` of another buffer, which has as many columns.
  void add_row(const RowBuffer& from, std::size_t row);
  /// Drops the values of a row that was begun and not ended.
  void abandon_row() {
    used_ = row_begin_;
    long_values_.resize(long_values_begin_);
  }

  [[nodiscard]] std::size_t rows() const { return row_starts_.size(); }
  [[nodiscard]] std::size_t columns() const { return columns_; }

  /// The values of row `row` (from 0), into `cells` (as many as columns). Valid until `clear`.
  void read_row(std::size_t row, std::span<Cell> cells) const { read_row_at(place_of(row), cells); }

  /// Where row `row` lies until `clear`.
  [[nodiscard]] const std::byte* place_of(std::size_t row) const { return row_starts_[row]; }
  /// The values of the row that lies there, as `read_row`.
  static void read_row_at(const std::byte* place, std::span<Cell> cells);
  /// One of them. Passes over those before it.
  [[nodiscard]] static Cell cell_at(const std::byte* place, std::size_t column);

  /// Forgets all rows. Gives their memory back, but for one small chunk: a server cursor fills and
  /// clears its buffer row by row.
  void clear();

 private:
  void add(const Cell& cell);
  /// Both return where the next value lies.
  static const std::byte* read_value(const std::byte* from, Cell& cell);
  static const std::byte* pass_over_value(const std::byte* from);

  static constexpr std::size_t kLongestLength = 10;  // of a 64-bit length, 7 bits a byte
  static constexpr std::size_t kShared = std::size_t{64} << 10;

  /// Room for `size` bytes behind what is there; `used_` moves behind them.
  [[nodiscard]] std::byte* take(std::size_t size) {
    if (size > chunk_size_ - used_) grow(size);
    std::byte* place = chunk_ + used_;
    used_ += size;
    return place;
  }

  template <class T>
  void add_number(Cell::Kind kind, T value) {
    std::byte* place = take(1 + sizeof value);
    *place = static_cast<std::byte>(kind);
    std::memcpy(place + 1, &value, sizeof value);
  }

  void add_run(Cell::Kind kind, const void* data, std::size_t size) {
    add_run(kind, size, data, size);
  }
  /// `told`: the length that is written before the `size` bytes at `data`.
  void add_run(Cell::Kind kind, std::size_t told, const void* data, std::size_t size);

  /// Begins a new chunk that has room for `size` bytes behind the open row, and moves that there.
  void grow(std::size_t size);

  struct Chunk {
    std::unique_ptr<std::byte[]> memory;
    std::size_t size = 0;
  };

  std::size_t columns_;
  std::vector<Chunk> chunks_;
  std::vector<const std::byte*> row_starts_;
  // A row lies in one chunk: the chunk in use, how much of it is used, where the open row begins.
  std::byte* chunk_ = nullptr;
  std::size_t chunk_size_ = 0;
  std::size_t used_ = 0;
  std::size_t row_begin_ = 0;
  std::deque<Bytes> long_values_;  // which stay where they are
  std::size_t long_values_begin_ = 0;
};

inline void RowBuffer::add_run(Cell::Kind kind, std::size_t told, const void* data,
                               std::size_t size) {
  std::byte* place = take(1 + kLongestLength + size);
  *place++ = static_cast<std::byte>(kind);
  std::size_t rest = told;
  while (rest >= 0x80) {
    *place++ = static_cast<std::byte>(rest | 0x80);
    rest >>= 7;
  }
  *place++ = static_cast<std::byte>(rest);
  used_ = static_cast<std::size_t>(place - chunk_) + size;
  if (size != 0) std::memcpy(place, data, size);
}

}  // namespace tarnwick::ado
