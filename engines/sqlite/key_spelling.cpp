#include "engines/sqlite/key_spelling.h"

#include <algorithm>
#include <utility>

#include "runtime/case_mapping.h"

namespace tarnwick::sqlite {
namespace {

constexpr std::string_view kLastCharacter = "\xF4\x8F\xBF\xBF";  // U+10FFFF

bool is_ascii(char c) { return static_cast<unsigned char>(c) < 0x80; }

std::size_t ascii_prefix(std::string_view text) {
  return static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), is_ascii) -
                                  text.begin());
}

/// Narrows a search down to where SQLite's own order of the keys leaves room for other spellings.
class Search final {
 public:
  explicit Search(const Table& table) : table_(table) {}

  void add(std::size_t position, const StoredValue& value) {
    const std::string column = identifier(table_.key[position]);
    columns_ += (position == 0 ? "" : ", ") + column;
    const auto* const text = std::get_if<std::string>(&value);
    const auto prefix = text != nullptr ? ascii_prefix(*text) : 0;
    if (text == nullptr || prefix == text->size()) {
      restrict(column + " = ?");
      values_.push_back(value);
      return;
    }
    folded_.emplace_back(position, folded_key_text(*text));
    if (prefix == 0) return;
    restrict(column + " BETWEEN ? AND ?");
    const auto first = text->substr(0, prefix);
    values_.emplace_back(first);
    values_.emplace_back(first + std::string(kLastCharacter));
  }

  [[nodiscard]] std::string sql() const {
    return "SELECT " + columns_ + " FROM dbo." + identifier(table_.name) + conditions_ +
           " ORDER BY " + columns_;
  }
  [[nodiscard]] std::span<const StoredValue> values() const { return values_; }
  [[nodiscard]] bool matches(sqlite3_stmt* row) const {
    return std::all_of(folded_.begin(), folded_.end(), [&](const auto& wanted) {
      const auto cell = cell_of(row, static_cast<int>(wanted.first));
      return cell.kind == ado::Cell::Kind::kUtf8 && folded_key_text(cell.view()) == wanted.second;
    });
  }

 private:
  void restrict(const std::string& condition) {
    conditions_ += (conditions_.empty() ? " WHERE " : " AND ") + condition;
  }

  const Table& table_;
  std::string columns_;
  std::string conditions_;
  std::vector<StoredValue> values_;
  std::vector<std::pair<std::size_t, std::string>> folded_;  // by position in the key
};

}  // namespace

std::string folded_key_text(std::string_view text) {
  if (ascii_prefix(text) != text.size()) return to_display_utf8(fold(from_stored_utf8(text)));
  std::string folded(text);
  for (char& c : folded) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return folded;
}

bool has_other_spellings(std::span<const StoredValue> key) {
  return std::any_of(key.begin(), key.end(), [](const StoredValue& value) {
    const auto* const text = std::get_if<std::string>(&value);
    return text != nullptr && ascii_prefix(*text) != text->size();
  });
}

std::optional<std::vector<StoredValue>> other_spelling(Database& database, const Table& table,
                                                       std::span<const StoredValue> key) {
  if (!has_other_spellings(key)) return std::nullopt;
  Search search(table);
  for (std::size_t i = 0; i < key.size(); ++i) search.add(i, key[i]);
  sqlite3_stmt* const statement = database.statement(search.sql());
  Execution rows(database, statement, search.values());
  while (rows.next()) {
    if (!search.matches(statement)) continue;
    std::vector<StoredValue> found;
    for (std::size_t i = 0; i < key.size(); ++i) {
      found.push_back(stored_value(cell_of(statement, static_cast<int>(i))));
    }
    return found;
  }
  return std::nullopt;
}

}  // namespace tarnwick::sqlite
