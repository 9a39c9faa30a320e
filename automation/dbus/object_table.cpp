#include "automation/dbus/object_table.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <utility>

#include "automation/dbus/names.h"
#include "automation/model.h"

namespace tarnwick::automation::dbus {

namespace {

const Object kNothing;

bool skip(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

}  // namespace

ObjectTable::ObjectTable(std::string run) : run_(std::move(run)) {}

std::string ObjectTable::path_of(ClassId of, Number number) const {
  std::string path(kRootPath);
  path.append("/").append(class_of(of).name);
  path.append("/").append(run_).append("_").append(std::to_string(number));
  return path;
}

ObjectTable::Entries::const_iterator ObjectTable::locate(std::string_view path) const {
  std::string_view rest = path;
  if (!skip(rest, kRootPath) || !skip(rest, "/")) return entries_.end();
  const std::string_view class_name = rest.substr(0, rest.find('/'));
  rest.remove_prefix(class_name.size());
  if (!skip(rest, "/") || !skip(rest, run_) || !skip(rest, "_")) return entries_.end();
  // One path for one object: 017 is not 17.
  if (rest.starts_with('0')) return entries_.end();
  Number number = 0;
  const char* end = rest.data() + rest.size();
  const auto parsed = std::from_chars(rest.data(), end, number);
  if (parsed.ec != std::errc() || parsed.ptr != end) return entries_.end();
  const auto entry = entries_.find(number);
  if (entry == entries_.end() || class_of(entry->second.object.class_id).name != class_name) {
    return entries_.end();
  }
  return entry;
}

std::string ObjectTable::hand_out(Holder& holder, const Object& object) {
  const auto known = numbers_.find(object.instance.get());
  const Number number = known == numbers_.end() ? next_ : known->second;
  if (!holder.numbers_.insert(number).second) return path_of(object.class_id, number);
  try {
    if (known == numbers_.end()) {
      entries_.emplace(number, Entry{object, 0});
      numbers_.emplace(object.instance.get(), number);
      ++class_sizes_[static_cast<std::size_t>(object.class_id)];
      ++next_;
    }
    std::string path = path_of(object.class_id, number);
    ++entries_.at(number).holders;
    return path;
  } catch (...) {
    holder.numbers_.erase(number);
    throw;
  }
}

bool ObjectTable::holds(const Holder& holder, const Object& object) const {
  const auto known = numbers_.find(object.instance.get());
  return known != numbers_.end() && holder.numbers_.contains(known->second);
}

const Object& ObjectTable::find(std::string_view path) const {
  const auto entry = locate(path);
  return entry == entries_.end() ? kNothing : entry->second.object;
}

bool ObjectTable::release(Holder& holder, std::string_view path) {
  const auto entry = locate(path);
  if (entry == entries_.end() || holder.numbers_.erase(entry->first) == 0) return false;
  let_go(entry->first);
  return true;
}

void ObjectTable::release_all(Holder& holder) {
  std::vector<Number> numbers(holder.numbers_.begin(), holder.numbers_.end());
  holder.numbers_.clear();
  std::ranges::sort(numbers, std::greater());
  for (const Number number : numbers) let_go(number);
}

void ObjectTable::let_go(Number number) {
  const auto entry = entries_.find(number);
  if (--entry->second.holders > 0) return;
  // The table is in order before the object's end runs.
  const Object last = std::move(entry->second.object);
  numbers_.erase(last.instance.get());
  --class_sizes_[static_cast<std::size_t>(last.class_id)];
  entries_.erase(entry);
}

std::vector<std::string> ObjectTable::paths(ClassId of, std::size_t limit) const {
  std::vector<std::string> found;
  for (const auto& [number, entry] : entries_) {
    if (found.size() == limit) break;
    if (entry.object.class_id == of) found.push_back(path_of(of, number));
  }
  return found;
}

bool ObjectTable::any(ClassId of) const { return class_sizes_[static_cast<std::size_t>(of)] > 0; }

}  // namespace tarnwick::automation::dbus
