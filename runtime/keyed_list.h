#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>
#include <vector>

#include "runtime/error.h"
#include "runtime/keyed_list_index.h"
#include "runtime/text.h"

namespace tarnwick {

/// The automation run-time's keyed collection: values in order of insertion, each under a unique
/// key. Keys compare without regard to case; positions count from 1. Every operation takes
/// constant or logarithmic time, also with a million entries and after removals.
template <class T>
class KeyedList {
 public:
  /// Adds `value` behind the others. Throws Error 457 for a key that is present; nothing changes.
  void add(TextView key, T value) {
    index_.add(key);
    try {
      values_.push_back(std::move(value));
    } catch (...) {
      index_.remove_last();
      throw;
    }
  }

  /// Makes room for so many entries.
  void reserve(std::size_t entries) {
    index_.reserve(entries);
    values_.reserve(entries);
  }

  /// The value under `key`, or nullptr.
  [[nodiscard]] const T* find(TextView key) const {
    const auto slot = index_.find(key);
    return slot ? &values_[*slot] : nullptr;
  }

  /// Throws Error 5 for a key that is not present.
  [[nodiscard]] const T& at(TextView key) const {
    const T* value = find(key);
    if (value == nullptr) throw Error(ErrorNumber::kInvalidProcedureCall);
    return *value;
  }

  /// Throws Error 9 for a position outside 1..size().
  [[nodiscard]] const T& at(std::int64_t position) const {
    return values_[index_.slot_at(position)];
  }

  /// Throws as at(); the entries behind move up.
  void remove(TextView key) {
    const auto slot = index_.find(key);
    if (!slot) throw Error(ErrorNumber::kInvalidProcedureCall);
    remove_slot(*slot);
  }
  void remove(std::int64_t position) { remove_slot(index_.slot_at(position)); }

  [[nodiscard]] std::size_t size() const { return index_.size(); }
  [[nodiscard]] bool empty() const { return size() == 0; }

  /// Walks the entries in order. Entries added or removed meanwhile are seen, or not, by where they
  /// stand; the walk never leaves the list.
  class Walk {
   public:
    explicit Walk(const KeyedList& list) : list_(&list) {}
    /// The next entry's value, or nullptr at the end.
    const T* next() {
      const auto slot = list_->index_.next_live(cursor_);
      return slot ? &list_->values_[*slot] : nullptr;
    }

   private:
    const KeyedList* list_;
    KeyedListIndex::Cursor cursor_;
  };
  [[nodiscard]] Walk walk() const { return Walk(*this); }

  /// A walk as range-based loops want it.
  class Iterator {
   public:
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    explicit Iterator(Walk walk) : walk_(walk), value_(walk_.next()) {}
    const T& operator*() const { return *value_; }
    Iterator& operator++() {
      value_ = walk_.next();
      return *this;
    }
    void operator++(int) { ++*this; }
    friend bool operator==(const Iterator& i, std::nullptr_t) { return i.value_ == nullptr; }

   private:
    Walk walk_;
    const T* value_;
  };
  [[nodiscard]] Iterator begin() const { return Iterator(walk()); }
  [[nodiscard]] std::nullptr_t end() const { return nullptr; }

 private:
  void remove_slot(std::size_t slot) {
    const bool many_dead = index_.remove(slot);
    // Dies last: its end may look at this list.
    [[maybe_unused]] const T removed = std::exchange(values_[slot], T{});
    if (many_dead) compact();
  }

  void compact() try {
    std::vector<T> live;
    live.reserve(index_.size());
    index_.compact([&](std::size_t slot) { live.push_back(std::move(values_[slot])); });
    values_ = std::move(live);
  } catch (const std::bad_alloc&) {
    // Nothing was moved and all is in order; the next removal tries again.
  }

  KeyedListIndex index_;
  std::vector<T> values_;
};

}  // namespace tarnwick
