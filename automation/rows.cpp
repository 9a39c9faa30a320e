#include "automation/rows.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "pcs/find_pcs.h"
#include "reports/stored_report_files.h"
#include "runtime/error.h"

namespace tarnwick::automation {
namespace {

const Class& class_of_object(const AnyObject& any) {
  if (!any.object) throw Error(ErrorNumber::kObjectNotSet);
  return class_of(any.object.class_id);
}

const Class& record_class_of(const AnyObject& record) {
  const Class& of = class_of_object(record);
  if (of.insert == nullptr) throw Error(ErrorNumber::kTypeMismatch);
  return of;
}

/// What every class has is the state of the last call rather than a part of a record.
bool is_told(const Member& member) {
  return is_property(member) && !member.name.starts_with("LastError");
}

/// What the value takes beyond itself.
std::size_t bytes_of(const Value& value) {
  const Text* text = std::get_if<Text>(&value);
  return sizeof(Value) + (text == nullptr ? 0 : text->size() * sizeof(char16_t));
}

/// Appends the properties of `record`; returns their bytes.
std::size_t append_properties(const Object& record, std::vector<Value>& values) {
  std::size_t bytes = 0;
  for (const Member& member : class_of(record.class_id).members) {
    if (!is_told(member)) continue;
    Value value;
    try {
      value = automation::call(record, member);
    } catch (const Error&) {
      // Who reads it alone is told why.
    }
    bytes += bytes_of(value);
    values.push_back(std::move(value));
  }
  return bytes;
}

std::size_t count_of_properties(const Class& of) {
  return static_cast<std::size_t>(std::ranges::count_if(of.members, is_told));
}

/// A number that scripts can read: theirs have 32 bits, or a fraction.
double number(std::int64_t value) { return static_cast<double>(value); }

}  // namespace

UpdateErrorEnum Rows::insert(const AnyObject& record, TextView full_report_name) const {
  static_cast<void>(record_class_of(record));
  return automation::insert(record.object, full_report_name);
}

Values Rows::look(const AnyObject& record) const {
  static_cast<void>(record_class_of(record));
  const Look seen = automation::look(record.object);
  return {{static_cast<std::int32_t>(seen.outcome), seen.held, seen.stamp,
           number(seen.process_id.value_or(0))},
          0};
}

Values Rows::find_pcs(TextView computer_or_mac_number) const {
  Values keys{{}, 3};
  for (PcKey& key : tarnwick::find_pcs(state_, computer_or_mac_number)) {
    keys.all.emplace_back(std::move(key.mac_number));
    keys.all.emplace_back(std::move(key.computer_id));
    keys.all.emplace_back(key.comp_id);
  }
  return keys;
}

Values Rows::report_files() const {
  Values files{{}, 2};
  for (StoredReportFile& file : stored_report_files(state_)) {
    files.all.emplace_back(std::move(file.report));
    files.all.emplace_back(number(file.length));
  }
  return files;
}

Values Rows::properties(const AnyObject& record_or_collection) const {
  const Class* of = &class_of_object(record_or_collection);
  if (const Member* item = find_member(*of, "Item")) of = &class_of(item->result.class_id);
  if (of->insert == nullptr) throw Error(ErrorNumber::kTypeMismatch);
  Values names;
  for (const Member& member : of->members) {
    if (is_told(member)) names.all.emplace_back(from_utf8(member.name));
  }
  return names;
}

Values Rows::read(const AnyObject& record) const {
  static_cast<void>(record_class_of(record));
  Values values;
  append_properties(record.object, values.all);
  return values;
}

Values Rows::get_rows(const AnyObject& collection, std::int32_t first, std::int32_t count) const {
  const Class& of = class_of_object(collection);
  const Member* item = find_member(of, "Item");
  if (item == nullptr) throw Error(ErrorNumber::kTypeMismatch);
  if (first < 1 || count < 0) throw Error(ErrorNumber::kSubscriptOutOfRange);

  const auto size =
      std::get<std::int32_t>(automation::call(collection.object, *find_member(of, "Count")));
  Values rows{{}, count_of_properties(class_of(item->result.class_id))};
  std::size_t bytes = 0;
  for (std::int64_t position = first; position <= size && position - first < count; ++position) {
    const Value where = static_cast<std::int32_t>(position);
    const Value row = automation::call(collection.object, *item, {&where, 1});
    const Object& record = std::get<Object>(row);
    if (!record) break;
    bytes += append_properties(record, rows.all);
    if (bytes > kMostBytes) break;
  }
  return rows;
}

}  // namespace tarnwick::automation
