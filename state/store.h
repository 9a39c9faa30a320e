#pragma once

#include <memory>

#include "runtime/conversions.h"
#include "state/shared_state.h"

namespace tarnwick {

/// What the reference holds, such as a store, or error 91 where it is unset.
template <class T>
[[nodiscard]] T& require_set(const std::shared_ptr<T>& reference) {
  if (reference == nullptr) throw Error(ErrorNumber::kObjectNotSet);
  return *reference;
}

/// Walks the entries of a store in order; what clients' for-each loops run on. Keeps the list that
/// it began with, also when a reload replaces it. Error 91 without a store.
template <class Record>
class StoreEnumerator {
 public:
  explicit StoreEnumerator(std::shared_ptr<Store<Record>> store)
      : store_(std::move(store)), walk_(require_set(store_).walk()) {}

  /// The next entry, or null at the end.
  [[nodiscard]] std::shared_ptr<Record> next() {
    const auto* entry = walk_.next();
    return entry == nullptr ? nullptr : *entry;
  }
  void reset() { walk_ = store_->walk(); }

 private:
  std::shared_ptr<Store<Record>> store_;
  typename Store<Record>::Walk walk_;
};

/// The entry under a key (any text, "3" too) or at a position from 1 (any number). Errors: 91
/// without a store, 5 for an unknown key, 9 for a position out of range, 13 or 94 for anything
/// else.
template <class Record>
[[nodiscard]] std::shared_ptr<Record> entry_at(const std::shared_ptr<Store<Record>>& store,
                                               const Variant& key_or_position) {
  const Store<Record>& list = require_set(store);
  if (const Text* key = std::get_if<Text>(&key_or_position)) return list.at(*key);
  if (std::holds_alternative<Empty>(key_or_position)) throw Error(ErrorNumber::kTypeMismatch);
  return list.at(std::int64_t{to_int32(key_or_position)});
}

/// Whether `store` exists, the shared connection is open and the store holds an entry.
template <class Record>
[[nodiscard]] bool usable(const SharedState& state, const std::shared_ptr<Store<Record>>& store) {
  return store != nullptr && state.connected() && !store->empty();
}

/// Whether any entry of `store` is changed: a row that nobody has asked for is not.
template <class Record>
[[nodiscard]] bool any_changed(const std::shared_ptr<Store<Record>>& store) {
  return store != nullptr &&
         store->any_record([](const Record& record) { return record.changed(); });
}

/// Whether `store` exists and holds `key`.
template <class Record>
[[nodiscard]] bool holds(const std::shared_ptr<Store<Record>>& store, TextView key) {
  return store != nullptr && store->contains(key);
}

}  // namespace tarnwick
