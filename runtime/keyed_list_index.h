#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

#include "runtime/text.h"

namespace tarnwick {

/// The keys of a KeyedList: which slot a key has, which slot stands at a position. Slots are
/// numbered in order of insertion; a removed entry leaves a dead slot until `compact`.
class KeyedListIndex {
 public:
  /// Takes the next slot. Throws Error 457 when `key` is present.
  void add(Text key);
  /// Takes the last `add` back.
  void remove_last();

  [[nodiscard]] std::optional<std::size_t> find(TextView key) const;

  /// Slot of the entry at `position` (from 1). Throws Error 9 outside 1..size().
  [[nodiscard]] std::size_t slot_at(std::int64_t position) const;

  /// Returns true when the dead slots have grown so many that `compact` should be called.
  [[nodiscard]] bool remove(std::size_t slot);

  /// Renumbers the live slots from 0, calling `moved` with each one's old number in order.
  void compact(const std::function<void(std::size_t)>& moved);

  [[nodiscard]] std::size_t size() const { return live_; }

  /// A place in the order that stays right when entries come and go.
  struct Cursor {
    std::uint64_t next_serial = 0;
    std::size_t slot = 0;
    std::uint64_t generation = 0;
  };
  /// Moves `cursor` behind the next live slot and returns that slot, or nothing at the end.
  [[nodiscard]] std::optional<std::size_t> next_live(Cursor& cursor) const;

 private:
  struct Entry {
    Text key;
    std::uint32_t hash = 0;
    bool live = true;
  };

  [[nodiscard]] std::size_t probe(TextView key, std::uint32_t hash) const;
  void grow_table();
  void count_dead(std::size_t slot);

  std::vector<Entry> entries_;
  std::vector<std::uint32_t> table_;  // open addressing: slot + 1, or 0 for a free place
  std::vector<std::uint32_t> dead_before_;  // Fenwick tree of dead slots; empty while none is dead
  std::vector<std::uint64_t> serials_;      // serial of each slot; empty until the first compact
  std::size_t live_ = 0;
  std::uint64_t next_serial_ = 0;
  std::uint64_t generation_ = 0;
};

}  // namespace tarnwick
