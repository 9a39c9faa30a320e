#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include "runtime/keyed_list.h"

namespace tarnwick {

/// Makes the records of a store out of rows that were loaded, when somebody asks for them.
template <class Record>
class RecordSource {
 public:
  virtual ~RecordSource() = default;
  [[nodiscard]] virtual std::shared_ptr<Record> make(std::uint32_t row) const = 0;
  /// The record, which somebody still holds, leaves the store: it is to keep nothing alive but its
  /// own row.
  virtual void part_from(Record& record) const noexcept = 0;
};

/// The keyed collection of one class of record, shared by all objects of the process: a KeyedList
/// whose entries may be rows that nobody has asked for yet. Each becomes a record once, and then is
/// the same for all who ask.
template <class Record>
class Store {
  struct Entry {
    mutable std::shared_ptr<Record> record;  // null while the row has not been asked for
    std::uint32_t row = 0;  // Unchanged: looked at without a record alone, and then it was given.
  };

 public:
  using Pointer = std::shared_ptr<Record>;

  Store() = default;
  explicit Store(std::unique_ptr<const RecordSource<Record>> source) : source_(std::move(source)) {}
  ~Store() {
    for (const Entry& entry : list_) part_from(entry);
  }
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  /// Throws Error 457 for a key that is present; nothing changes.
  void add(TextView key, Pointer record) { list_.add(key, {std::move(record), 0}); }
  /// Adds the row `row` of the store's source.
  void add_row(TextView key, std::uint32_t row) { list_.add(key, {nullptr, row}); }
  void reserve(std::size_t entries) { list_.reserve(entries); }

  [[nodiscard]] bool contains(TextView key) const { return list_.find(key) != nullptr; }
  /// The record under `key`, or nullptr.
  [[nodiscard]] const Pointer* find(TextView key) const {
    const Entry* entry = list_.find(key);
    return entry == nullptr ? nullptr : &record_of(*entry);
  }
  /// Throws Error 5 for a key that is not present.
  [[nodiscard]] const Pointer& at(TextView key) const { return record_of(list_.at(key)); }
  /// Throws Error 9 for a position outside 1..size().
  [[nodiscard]] const Pointer& at(std::int64_t position) const {
    return record_of(list_.at(position));
  }

  /// Throw as at(); the entries behind move up.
  void remove(TextView key) {
    part_from(list_.at(key));
    list_.remove(key);
  }
  void remove(std::int64_t position) {
    part_from(list_.at(position));
    list_.remove(position);
  }

  [[nodiscard]] std::size_t size() const { return list_.size(); }
  [[nodiscard]] bool empty() const { return list_.empty(); }

  /// As that of KeyedList.
  class Walk {
   public:
    explicit Walk(const Store& store) : store_(&store), walk_(store.list_.walk()) {}
    const Pointer* next() {
      const Entry* entry = walk_.next();
      return entry == nullptr ? nullptr : &store_->record_of(*entry);
    }

   private:
    const Store* store_;
    typename KeyedList<Entry>::Walk walk_;
  };
  [[nodiscard]] Walk walk() const { return Walk(*this); }

  /// A walk as range-based loops want it.
  class Iterator {
   public:
    using value_type = Pointer;
    using difference_type = std::ptrdiff_t;
    explicit Iterator(Walk walk) : walk_(walk), record_(walk_.next()) {}
    const Pointer& operator*() const { return *record_; }
    Iterator& operator++() {
      record_ = walk_.next();
      return *this;
    }
    void operator++(int) { ++*this; }
    friend bool operator==(const Iterator& i, std::nullptr_t) { return i.record_ == nullptr; }

   private:
    Walk walk_;
    const Pointer* record_;
  };
  [[nodiscard]] Iterator begin() const { return Iterator(walk()); }
  [[nodiscard]] std::nullptr_t end() const { return nullptr; }

  /// Whether `wanted` says so of any record that somebody has asked for.
  template <class Wanted>
  [[nodiscard]] bool any_record(Wanted&& wanted) const {
    for (const Entry& entry : list_) {
      if (entry.record != nullptr && wanted(*entry.record)) return true;
    }
    return false;
  }

 private:
  [[nodiscard]] const Pointer& record_of(const Entry& entry) const {
    if (entry.record == nullptr) entry.record = source_->make(entry.row);
    return entry.record;
  }
  void part_from(const Entry& entry) const noexcept {
    if (source_ != nullptr && entry.record.use_count() > 1) source_->part_from(*entry.record);
  }

  std::unique_ptr<const RecordSource<Record>> source_;
  KeyedList<Entry> list_;
};

}  // namespace tarnwick
