// Keys of rows, and the bytes of the lock file that stand for them.

#include "engines/sqlite/row_key.h"

#include <array>

#include "engines/sqlite/key_spelling.h"
#include "fuzz/target.h"
#include "records/row_version.h"
#include "runtime/case_mapping.h"

namespace tarnwick::fuzz {
namespace {

ado::Cell cell_of(ado::Cell::Kind kind, std::string_view bytes) {
  return {
      .kind = kind, .data = reinterpret_cast<const std::byte*>(bytes.data()), .size = bytes.size()};
}

ado::Cell any_cell(Input& input) {
  switch (input.choice(4)) {
    case 0:
      return {};
    case 1:
      return {.kind = ado::Cell::Kind::kInt64, .integer = input.integer()};
    case 2:
      return cell_of(ado::Cell::Kind::kBytes, input.piece());
    default:
      return cell_of(ado::Cell::Kind::kUtf8, input.piece());
  }
}

using Key = std::array<ado::Cell, 2>;

void try_locks(Input& input) {
  const std::string_view table = input.piece();
  const Key key{any_cell(input), any_cell(input)};
  const Key other{any_cell(input), any_cell(input)};
  const sqlite::ByteRange region = sqlite::lock_region(table);
  const std::int64_t byte = sqlite::lock_byte(region, key);
  require(sqlite::region_around(byte) == region, "a row's byte lies in the region of its table");
  require(sqlite::same_key(key, key), "a key is the same as itself");
  require(!sqlite::same_key(key, other) || sqlite::lock_byte(region, other) == byte,
          "the same key has the same byte");
  static_cast<void>(sqlite::key_text(key));
}

void try_spellings(Input& input) {
  const std::string_view text = input.rest();
  const std::string folded = sqlite::folded_key_text(text);
  require(sqlite::folded_key_text(folded) == folded, "folding twice is folding once");
  const sqlite::ByteRange region = sqlite::lock_region("T");
  const auto byte_of = [&](std::string_view spelling) {
    const std::array key{cell_of(ado::Cell::Kind::kUtf8, spelling)};
    return sqlite::lock_byte(region, key);
  };
  require(byte_of(text) == byte_of(folded), "all spellings of a key have the same byte");
  const Text units = from_stored_utf8(text);
  require(equals_ignoring_case(units, from_stored_utf8(folded)),
          "a key and its folding are equal without regard to case");
  require(equals_ignoring_case(units, fold(units)), "a text equals its folding");
  require(fold(fold(units)) == fold(units), "folding twice is folding once");
}

void try_versions(Input& input) {
  const auto width = static_cast<std::int16_t>(input.choice(64));
  const Text version = input.rest_as_text();
  const Text hex = row_version_to_hex(version);
  require(hex.size() >= 2 * version.size(), "every character has two digits or more");
  require(hex.find_first_not_of(u"0123456789ABCDEF") == Text::npos, "there are digits alone");
  require(pad_left(version, width, u' ').size() == static_cast<std::size_t>(width) ||
              trim(version).size() >= static_cast<std::size_t>(width),
          "a text is filled up to the width");
}

}  // namespace

void attempt(Input input) {
  switch (input.choice(3)) {
    case 0:
      return try_locks(input);
    case 1:
      return try_spellings(input);
    default:
      return try_versions(input);
  }
}

}  // namespace tarnwick::fuzz
