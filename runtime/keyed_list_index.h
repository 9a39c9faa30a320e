#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "runtime/text.h"

namespace tarnwick {

/// The keys of a KeyedList: which slot a key has, which slot stands at a position. Slots are
/// numbered in order of insertion; a removed entry leaves a dead slot until `compact`. Made for
/// millions of entries: only the foldings of the keys are kept, packed one behind the other.
class KeyedListIndex {
 public:
  /// Takes the next slot. Throws Error 457 when `key` is present, Error 7 beyond 2^31 - 1 slots or
  /// for a key of more than 2^32 - 1 units; then nothing has changed.
  void add(TextView key);
  /// Takes the last `add` back; nothing else may have happened since.
  void remove_last() noexcept;

  /// Makes room for so many slots.
  void reserve(std::size_t slots);

  [[nodiscard]] std::optional<std::size_t> find(TextView key) const;

  /// Slot of the entry at `position` (from 1). Throws Error 9 outside 1..size().
  [[nodiscard]] std::size_t slot_at(std::int64_t position) const;

  /// Removes the entry of a live slot. Returns true when the dead slots have grown so many that
  /// `compact` should be called.
  [[nodiscard]] bool remove(std::size_t slot);

  /// Renumbers the live slots from 0, calling `moved` with each one's old number in order.
  /// `moved` must not throw; nothing has changed when memory runs out.
  template <class Moved>
  void compact(Moved moved) {
    KeyedListIndex compacted = without_dead_slots();
    for (std::size_t slot = 0; slot < entries_.size(); ++slot) {
      if (entries_[slot].live()) moved(slot);
    }
    *this = std::move(compacted);
  }

  [[nodiscard]] std::size_t size() const { return entries_.size() - dead_; }

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
    const char16_t* key = nullptr;  // folded, in keys_; null for a dead slot
    std::uint32_t size = 0;
    std::uint32_t hash = 0;

    [[nodiscard]] bool live() const { return key != nullptr; }
    [[nodiscard]] TextView view() const { return {key, size}; }
  };

  /// Memory for keys that stay where they are: filled from the front, given back at the end.
  class KeyStore {
   public:
    /// Room for `size` units at the place that the next `commit` takes.
    [[nodiscard]] char16_t* room(std::size_t size);
    void commit(std::size_t size) { used_ += size; }
    void take_back(std::size_t size) noexcept { used_ -= size; }

   private:
    std::vector<std::unique_ptr<char16_t[]>> chunks_;
    std::size_t used_ = 0;      // units of the last chunk
    std::size_t capacity_ = 0;  // of the last chunk
  };

  [[nodiscard]] std::size_t probe(TextView folded, std::uint32_t hash) const;
  [[nodiscard]] std::uint32_t tagged(std::size_t slot, std::uint32_t hash) const;
  void fill_table() noexcept;
  void resize_table(std::size_t places);
  void erase_from_table(std::size_t slot) noexcept;
  void count_dead(std::size_t slot);
  [[nodiscard]] std::uint64_t serial_of(std::size_t slot) const;
  [[nodiscard]] std::size_t slot_of_serial(std::uint64_t serial) const;
  [[nodiscard]] KeyedListIndex without_dead_slots() const;

  std::vector<Entry> entries_;
  // Open addressing, a power of two of places. A place holds slot + 1 in its low bits and, in the
  // bits that the table's size leaves free, the high bits of the hash; 0 is a free place.
  std::vector<std::uint32_t> table_;
  std::vector<std::uint32_t> dead_tree_;  // Fenwick tree of dead slots; empty while none is dead
  // Serial of each slot; while empty, they count from first_serial_.
  std::vector<std::uint64_t> serials_;
  std::uint64_t first_serial_ = 0;
  std::uint64_t next_serial_ = 0;
  KeyStore keys_;
  std::size_t dead_ = 0;
  std::uint64_t generation_ = 0;
};

}  // namespace tarnwick
