#include "ado/row_buffer.h"

#include <array>
#include <utility>

namespace tarnwick::ado {
namespace {

constexpr std::size_t kFirstChunk = std::size_t{64} << 10;
constexpr std::size_t kChunk = std::size_t{1} << 20;
// What a chunk for one long value has beside it: the short values of the same row.
constexpr std::size_t kBesideLongValue = std::size_t{4} << 10;

// What the values of each kind take behind their kind.
constexpr std::size_t kToldInTheRow = ~std::size_t{0};
constexpr std::array<std::size_t, 10> kSizes{
    0, 1, 2, 4, 8, 8, 8, kToldInTheRow, kToldInTheRow, kToldInTheRow};

template <class T>
T read_number(const std::byte*& from) {
  T value;
  std::memcpy(&value, from, sizeof value);
  from += sizeof value;
  return value;
}

std::size_t read_length(const std::byte*& from) {
  std::size_t length = 0;
  for (unsigned shift = 0;; shift += 7) {
    const auto byte = std::to_integer<std::size_t>(*from++);
    length |= (byte & 0x7F) << shift;
    if (byte < 0x80) return length;
  }
}

Text text_of(const std::byte* data, std::size_t size) {
  Text text(size / sizeof(char16_t), u'\0');
  if (size != 0) std::memcpy(text.data(), data, text.size() * sizeof(char16_t));
  return text;
}

struct ToCell {
  using Kind = Cell::Kind;
  Cell operator()(Empty) const { return {}; }
  Cell operator()(Null) const { return {}; }
  Cell operator()(bool value) const { return {.kind = Kind::kBool, .integer = value}; }
  Cell operator()(std::int16_t value) const { return {.kind = Kind::kInt16, .integer = value}; }
  Cell operator()(std::int32_t value) const { return {.kind = Kind::kInt32, .integer = value}; }
  Cell operator()(std::int64_t value) const { return {.kind = Kind::kInt64, .integer = value}; }
  Cell operator()(double value) const { return {.kind = Kind::kDouble, .real = value}; }
  Cell operator()(Date value) const { return {.kind = Kind::kDate, .real = value.days}; }
  Cell operator()(const Text& value) const {
    const auto units = std::as_bytes(std::span(value));
    return {.kind = Kind::kUtf16, .data = units.data(), .size = units.size()};
  }
  Cell operator()(const Bytes& value) const { return Cell::of(value); }
};

}  // namespace

Cell Cell::of(const Variant& value) { return std::visit(ToCell{}, value); }

Variant Cell::to_variant() const {
  switch (kind) {
    case Kind::kNull:
      return Null{};
    case Kind::kBool:
      return integer != 0;
    case Kind::kInt16:
      return static_cast<std::int16_t>(integer);
    case Kind::kInt32:
      return static_cast<std::int32_t>(integer);
    case Kind::kInt64:
      return integer;
    case Kind::kDouble:
      return real;
    case Kind::kDate:
      return Date{real};
    case Kind::kUtf8:
      return from_stored_utf8(view());
    case Kind::kUtf16:
      return text_of(data, size);
    case Kind::kBytes:
      return bytes();
  }
  return Null{};
}

void RowBuffer::add_bytes(Bytes bytes) {
  if (bytes.size() < kShared) return add_run(Cell::Kind::kBytes, bytes.data(), bytes.size());
  const Bytes* const place = &long_values_.emplace_back(std::move(bytes));
  add_run(Cell::Kind::kBytes, place->size(), &place, sizeof place);
}

void RowBuffer::grow(std::size_t size) {
  const std::size_t open_row = used_ - row_begin_;
  const std::size_t regular = chunks_.empty() ? kFirstChunk : kChunk;
  const std::size_t needed = open_row + size;
  Chunk chunk;
  chunk.size = needed <= regular ? regular : needed + kBesideLongValue;
  chunk.memory = std::make_unique_for_overwrite<std::byte[]>(chunk.size);
  if (open_row != 0) std::memcpy(chunk.memory.get(), chunk_ + row_begin_, open_row);

  const bool only_the_open_row = row_begin_ == 0 && !chunks_.empty();
  if (only_the_open_row) chunks_.pop_back();
  chunk_ = chunk.memory.get();
  chunk_size_ = chunk.size;
  chunks_.push_back(std::move(chunk));
  row_begin_ = 0;
  used_ = open_row;
}

void RowBuffer::add(const Cell& cell) {
  switch (cell.kind) {
    case Cell::Kind::kNull:
      return add_null();
    case Cell::Kind::kBool:
      return add_bool(cell.integer != 0);
    case Cell::Kind::kInt16:
      return add_int16(static_cast<std::int16_t>(cell.integer));
    case Cell::Kind::kInt32:
      return add_int32(static_cast<std::int32_t>(cell.integer));
    case Cell::Kind::kInt64:
      return add_int64(cell.integer);
    case Cell::Kind::kDouble:
      return add_double(cell.real);
    case Cell::Kind::kDate:
      return add_date(Date{cell.real});
    case Cell::Kind::kUtf8:
    case Cell::Kind::kUtf16:
      return add_run(cell.kind, cell.data, cell.size);
    case Cell::Kind::kBytes:
      return add_bytes(cell.bytes());
  }
}

void RowBuffer::add_row(const RowBuffer& from, std::size_t row) {
  std::vector<Cell> cells(columns_);
  from.read_row(row, cells);
  for (const Cell& cell : cells) add(cell);
  end_row();
}

const std::byte* RowBuffer::read_value(const std::byte* from, Cell& cell) {
  cell.kind = static_cast<Cell::Kind>(*from++);
  switch (cell.kind) {
    case Cell::Kind::kNull:
      break;
    case Cell::Kind::kBool:
      cell.integer = read_number<std::uint8_t>(from);
      break;
    case Cell::Kind::kInt16:
      cell.integer = read_number<std::int16_t>(from);
      break;
    case Cell::Kind::kInt32:
      cell.integer = read_number<std::int32_t>(from);
      break;
    case Cell::Kind::kInt64:
      cell.integer = read_number<std::int64_t>(from);
      break;
    case Cell::Kind::kDouble:
    case Cell::Kind::kDate:
      cell.real = read_number<double>(from);
      break;
    case Cell::Kind::kUtf8:
    case Cell::Kind::kUtf16:
      cell.size = read_length(from);
      cell.data = from;
      from += cell.size;
      break;
    case Cell::Kind::kBytes:
      cell.size = read_length(from);
      cell.shared = cell.size < kShared ? nullptr : read_number<const Bytes*>(from);
      cell.data = cell.shared != nullptr ? cell.shared->data() : from;
      if (cell.shared == nullptr) from += cell.size;
      break;
  }
  return from;
}

const std::byte* RowBuffer::pass_over_value(const std::byte* from) {
  const auto kind = static_cast<Cell::Kind>(*from);
  const std::size_t size = kSizes[static_cast<std::size_t>(kind)];
  if (size != kToldInTheRow) return from + 1 + size;
  Cell passed_over;
  return read_value(from, passed_over);
}

void RowBuffer::read_row_at(const std::byte* place, std::span<Cell> cells) {
  for (Cell& cell : cells) place = read_value(place, cell);
}

Cell RowBuffer::cell_at(const std::byte* place, std::size_t column) {
  for (std::size_t i = 0; i < column; ++i) place = pass_over_value(place);
  Cell cell;
  read_value(place, cell);
  return cell;
}

void RowBuffer::clear() {
  row_starts_.clear();
  const bool first_is_small = !chunks_.empty() && chunks_.front().size == kFirstChunk;
  if (chunks_.size() > 1 || !first_is_small) row_starts_.shrink_to_fit();
  chunks_.resize(first_is_small ? 1 : 0);
  chunk_ = first_is_small ? chunks_.front().memory.get() : nullptr;
  chunk_size_ = first_is_small ? kFirstChunk : 0;
  used_ = 0;
  row_begin_ = 0;
  long_values_.clear();
  long_values_begin_ = 0;
}

}  // namespace tarnwick::ado
