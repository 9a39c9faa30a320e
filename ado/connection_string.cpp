#include "ado/connection_string.h"

#include <algorithm>
#include <utility>

#include "ado/error.h"
#include "runtime/case_mapping.h"

namespace tarnwick::ado {
namespace {

// What is wrong with an item; empty when it is well formed.
using Fault = TextView;

struct ScannedItem {
  Text name;
  Text value;
  std::size_t begin = 0;        // of the item in the string
  std::size_t value_begin = 0;  // of the value as it stands in the string, quotes included
  std::size_t value_end = 0;
};

class Scanner {
 public:
  explicit Scanner(TextView text) : text_(text) {}

  /// Scans the next item that is not empty. False at the end of the string and at a malformed item;
  /// `fault` tells the two apart.
  bool next(ScannedItem& item) {
    do {
      skip_blanks();
      if (position_ == text_.size()) return false;
    } while (take(u';'));
    ++number_;
    item = {};
    item.begin = position_;
    if (!scan_name(item) || !scan_value(item)) return false;
    const bool is_provider = equals_ignoring_case(item.name, u"Provider");
    if (is_provider) knows_braces_ = fold(item.value).starts_with(u"msdasql");
    return true;
  }

  [[nodiscard]] Fault fault() const { return fault_; }
  [[nodiscard]] std::int64_t item_number() const { return number_; }

 private:
  bool scan_name(ScannedItem& item) {
    while (true) {
      if (position_ == text_.size() || text_[position_] == u';') return fail(u"has no \"=\"");
      const char16_t unit = text_[position_++];
      if (unit == u'=' && !take(u'=')) break;
      item.name.push_back(unit);
    }
    item.name = trim(item.name);
    if (item.name.empty()) return fail(u"has no name");
    return true;
  }

  bool scan_value(ScannedItem& item) {
    skip_blanks();
    item.value_begin = position_;
    if (knows_braces_ && scan_braces(item)) return true;
    const bool quoted =
        position_ < text_.size() && (text_[position_] == u'"' || text_[position_] == u'\'');
    if (!quoted) {
      position_ = std::min(text_.find(u';', position_), text_.size());
      item.value = trim(text_.substr(item.value_begin, position_ - item.value_begin));
      item.value_end = item.value_begin + item.value.size();
      return true;
    }
    const char16_t quote = text_[position_++];
    while (true) {
      if (position_ == text_.size()) return fail(u"has a quote that is not closed");
      const char16_t unit = text_[position_++];
      if (unit == quote && !take(quote)) break;
      item.value.push_back(unit);
    }
    item.value_end = position_;
    skip_blanks();
    if (position_ == text_.size() || text_[position_] == u';') return true;
    return fail(u"has text behind its closing quote");
  }

  /// A value in braces, a closing one doubled inside. False, and nothing scanned, where it is none.
  bool scan_braces(ScannedItem& item) {
    if (!take(u'{')) return false;
    while (position_ < text_.size()) {
      if (!take(u'}')) {
        ++position_;
      } else if (!take(u'}')) {
        item.value_end = position_;
        skip_blanks();
        if (position_ < text_.size() && text_[position_] != u';') break;
        item.value = text_.substr(item.value_begin, item.value_end - item.value_begin);
        return true;
      }
    }
    position_ = item.value_begin;
    return false;
  }

  void skip_blanks() {
    while (take(u' ')) {
    }
  }

  bool take(char16_t unit) {
    if (position_ == text_.size() || text_[position_] != unit) return false;
    ++position_;
    return true;
  }

  bool fail(Fault fault) {
    fault_ = fault;
    return false;
  }

  TextView text_;
  std::size_t position_ = 0;
  std::int64_t number_ = 0;
  bool knows_braces_ = false;
  Fault fault_;
};

bool speaks_of_password(TextView text) {
  return find_ignoring_case(text, u"password") != Text::npos ||
         find_ignoring_case(text, u"pwd") != Text::npos;
}

constexpr TextView kBlanked = u"***";

}  // namespace

ConnectionString ConnectionString::parse(TextView text) {
  ConnectionString result;
  Scanner scanner(text);
  ScannedItem item;
  while (scanner.next(item)) result.set(item.name, std::move(item.value));
  if (!scanner.fault().empty()) {
    throw AdoError(AdoErrorNumber::kInvalidArgument,
                   join({u"The connection string cannot be read: item ",
                         decimal(scanner.item_number()), u" ", scanner.fault(), u"."}));
  }
  return result;
}

std::optional<Text> ConnectionString::find(TextView name) const {
  for (const Item& item : items_) {
    if (equals_ignoring_case(item.name, name)) return item.value;
  }
  return std::nullopt;
}

void ConnectionString::set(TextView name, Text value) {
  for (Item& item : items_) {
    if (equals_ignoring_case(item.name, name)) {
      item.value = std::move(value);
      return;
    }
  }
  items_.push_back({Text(name), std::move(value)});
}

bool ConnectionString::is_for_ole_db(TextView name) {
  return is_one_of(name, {u"OLE DB Services", u"Persist Security Info", u"Prompt", u"Window Handle",
                          u"Locale Identifier"});
}

Text ConnectionString::without_passwords(TextView text) {
  Text result;
  std::size_t copied = 0;
  const auto blank = [&](std::size_t begin, std::size_t end) {
    result.append(text.substr(copied, begin - copied)).append(kBlanked);
    copied = end;
  };
  Scanner scanner(text);
  ScannedItem item;
  while (scanner.next(item)) {
    if (speaks_of_password(item.name) || speaks_of_password(item.value)) {
      blank(item.value_begin, item.value_end);
    }
  }
  if (!scanner.fault().empty()) blank(item.begin, text.size());
  return result.append(text.substr(copied));
}

}  // namespace tarnwick::ado
