#include "engines/sqlite/row_key.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>

#include "engines/sqlite/key_spelling.h"

namespace tarnwick::sqlite {
namespace {

constexpr int kKeyBits = 46;
constexpr int kTableBits = 16;
constexpr std::int64_t kRegionSize = std::int64_t{1} << kKeyBits;
constexpr std::int64_t kFirstByte = std::int64_t{1} << (kKeyBits + kTableBits);

/// FNV-1a, its bits mixed at the end by MurmurHash3's finalizer (both are public domain): a fixed
/// function, since programs of different builds meet on one lock file.
class Hash final {
 public:
  void add(unsigned char byte) { state_ = (state_ ^ byte) * 0x100000001b3u; }
  void add(std::uint64_t number) {
    for (int shift = 0; shift < 64; shift += 8) add(static_cast<unsigned char>(number >> shift));
  }
  void add(std::string_view bytes) {
    for (const char c : bytes) add(static_cast<unsigned char>(c));
  }
  void add_folded(std::string_view text) {
    for (const char c : text) {
      add(static_cast<unsigned char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c));
    }
  }
  [[nodiscard]] std::int64_t top(int bits) const {
    std::uint64_t value = state_;
    value = (value ^ (value >> 33)) * 0xff51afd7ed558ccdu;
    value = (value ^ (value >> 33)) * 0xc4ceb9fe1a85ec53u;
    value ^= value >> 33;
    return static_cast<std::int64_t>(value >> (64 - bits));
  }

 private:
  std::uint64_t state_ = 0xcbf29ce484222325u;
};

bool is_ascii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

bool is_integer(const ado::Cell& cell) {
  using Kind = ado::Cell::Kind;
  return cell.kind == Kind::kBool || cell.kind == Kind::kInt16 || cell.kind == Kind::kInt32 ||
         cell.kind == Kind::kInt64;
}

bool is_real(const ado::Cell& cell) {
  return cell.kind == ado::Cell::Kind::kDouble || cell.kind == ado::Cell::Kind::kDate;
}

/// One number may be stored in two ways, as an integer and as a real.
bool whole(double value) { return std::abs(value) < 0x1p53 && std::trunc(value) == value; }

void add_cell(Hash& hash, const ado::Cell& cell) {
  if (is_integer(cell)) {
    hash.add(static_cast<unsigned char>('i'));
    hash.add(static_cast<std::uint64_t>(cell.integer));
  } else if (is_real(cell) && whole(cell.real)) {
    hash.add(static_cast<unsigned char>('i'));
    hash.add(static_cast<std::uint64_t>(static_cast<std::int64_t>(cell.real)));
  } else if (is_real(cell)) {
    hash.add(static_cast<unsigned char>('r'));
    hash.add(std::bit_cast<std::uint64_t>(cell.real));
  } else {
    hash.add(static_cast<unsigned char>(cell.is_null() ? 'n' : 't'));
    const auto text = cell.view();
    if (cell.kind == ado::Cell::Kind::kUtf8 && !is_ascii(text)) {
      const auto folded = folded_key_text(text);
      hash.add(std::uint64_t{folded.size()});
      hash.add(std::string_view(folded));
    } else {
      hash.add(std::uint64_t{text.size()});
      hash.add_folded(text);
    }
  }
}

bool same_value(const ado::Cell& a, const ado::Cell& b) {
  if (is_integer(a) && is_integer(b)) return a.integer == b.integer;
  if (is_real(a) && is_real(b)) return a.real == b.real;
  return a.kind == b.kind && a.view() == b.view();
}

std::string cell_text(const ado::Cell& cell) {
  if (is_integer(cell)) return std::to_string(cell.integer);
  if (is_real(cell)) {
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof digits, cell.real).ptr;
    return {digits, end};
  }
  if (cell.kind == ado::Cell::Kind::kUtf8) return std::string(cell.view());
  return cell.is_null() ? "NULL" : "(binary)";
}

}  // namespace

ByteRange lock_region(std::string_view table) {
  Hash hash;
  hash.add_folded(table);
  return region_around(kFirstByte + (hash.top(kTableBits) << kKeyBits));
}

std::int64_t lock_byte(ByteRange region, std::span<const ado::Cell> key) {
  Hash hash;
  for (const auto& cell : key) add_cell(hash, cell);
  return region.first + hash.top(kKeyBits);
}

ByteRange region_around(std::int64_t byte) {
  const std::int64_t first = byte >> kKeyBits << kKeyBits;
  return {first, first + (kRegionSize - 1)};
}

bool same_key(std::span<const ado::Cell> a, std::span<const ado::Cell> b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), same_value);
}

std::string key_text(std::span<const ado::Cell> key) {
  std::string result;
  for (const auto& cell : key) {
    if (!result.empty()) result += ", ";
    result += cell_text(cell);
  }
  return result;
}

}  // namespace tarnwick::sqlite
