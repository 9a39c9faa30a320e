#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "runtime/variant.h"

namespace tarnwick::ado {

/// One value of a stored row, still in the engine's form; views point into the RowBuffer.
struct Cell {
  enum class Kind : std::uint8_t {
    kNull, kBool, kInt16, kInt32, kInt64, kDouble, kDate, kUtf8, kUtf16, kBytes,
  };
  Kind kind = Kind::kNull;
  std::int64_t integer = 0;  // kBool, kInt16, kInt32, kInt64
  double real = 0.0;         // kDouble, kDate
  const std::byte* data = nullptr;
  std::size_t size = 0;  // in bytes: kUtf8, kUtf16, kBytes

  [[nodiscard]] bool is_null() const { return kind == Kind::kNull; }
  [[nodiscard]] Variant to_variant() const;
};

/// Rows packed one behind the other, as compact as the engine hands them out: what a cursor has
/// fetched. An engine appends the values of a row in column order and then calls `end_row`.
class RowBuffer {
 public:
  explicit RowBuffer(std::size_t columns) : columns_(columns) {}

  void add_null();
  void add_bool(bool value);
  void add_int16(std::int16_t value);
  void add_int32(std::int32_t value);
  void add_int64(std::int64_t value);
  void add_double(double value);
  void add_date(Date value);
  void add_utf8(std::string_view text);
  void add_utf16(TextView text);
  void add_bytes(std::span<const std::byte> bytes);

  /// For a long value that comes in pieces: room for `size` bytes, to be filled by the caller
  /// before the next call. `kind` is kUtf8, kUtf16 or kBytes.
  [[nodiscard]] std::span<std::byte> add_room(Cell::Kind kind, std::size_t size);

  /// Ends a row. The row must have as many values as the buffer has columns.
  void end_row();
  /// Drops the values of a row that was begun and not ended.
  void abandon_row();

  [[nodiscard]] std::size_t rows() const { return row_starts_.size(); }
  [[nodiscard]] std::size_t columns() const { return columns_; }

  /// The values of row `row` (from 0), into `cells` (as many as columns). Valid until `clear`.
  void read_row(std::size_t row, std::span<Cell> cells) const;

  /// Forgets all rows and gives their memory back.
  void clear();

 private:
  [[nodiscard]] std::byte* take(std::size_t size);

  std::size_t columns_;
  std::vector<std::unique_ptr<std::byte[]>> chunks_;
  std::vector<const std::byte*> row_starts_;
  // A row lies in one chunk: the chunk in use, how much of it is used, where the open row begins.
  std::size_t chunk_size_ = 0;
  std::size_t used_ = 0;
  std::size_t row_begin_ = 0;
};

}  // namespace tarnwick::ado
