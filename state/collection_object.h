#pragma once

#include "state/guard.h"
#include "state/model_object.h"
#include "state/store.h"

namespace tarnwick {

/// What the three collections have in common: each shows the one store of its class of record.
/// Creating a collection object replaces the store by an empty one, and the end of any drops it,
/// for all others too: a client uses the one that Server hands out.
template <class Record, std::shared_ptr<Store<Record>> SharedState::*kStore>
class CollectionObject : public ModelObject {
 public:
  /// Whether the store holds this key, in any letter case.
  [[nodiscard]] bool exists(TextView key) const { return holds(store(), key); }

  /// The entry under a key or at a position from 1; null where there is none.
  [[nodiscard]] std::shared_ptr<Record> item(const Variant& key_or_position) const {
    std::shared_ptr<Record> found;
    quietly([&] { found = entry_at(store(), key_or_position); });
    return found;
  }

  /// 0 without a store.
  [[nodiscard]] std::int32_t count() const {
    return static_cast<std::int32_t>(store_or_empty()->size());
  }

  /// Walks the store in order; an empty one when there is none.
  [[nodiscard]] StoreEnumerator<Record> new_enum() const {
    return StoreEnumerator<Record>(store_or_empty());
  }

  /// Whether any entry is changed.
  [[nodiscard]] bool changed() const { return any_changed(store()); }
  /// The store exists and holds an entry, and the shared connection is open.
  [[nodiscard]] bool initialized() const { return usable(state_, store()); }

 protected:
  explicit CollectionObject(SharedState& state) : ModelObject(state) {
    store() = std::make_shared<Store<Record>>();
  }
  ~CollectionObject() { store().reset(); }

  /// Puts `record` in the store under its key. False when the key is there already, which leaves
  /// `taken()` as the message, or for null (error 91).
  template <class Taken>
  bool add_object(const Procedure& procedure, const std::shared_ptr<Record>& record,
                  Taken&& taken) {
    return guarded(state_, procedure, false, [&](bool& result) {
      Text key = require_set(record).key();
      if (exists(key)) {
        state_.errors.set_message(taken());
        return;
      }
      require_set(store()).add(std::move(key), record);
      result = true;
    });
  }

 private:
  [[nodiscard]] std::shared_ptr<Store<Record>>& store() const { return state_.*kStore; }
  [[nodiscard]] std::shared_ptr<Store<Record>> store_or_empty() const {
    return store() == nullptr ? std::make_shared<Store<Record>>() : store();
  }
};

}  // namespace tarnwick
