#include "runtime/keyed_list_index.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>

#include "runtime/case_mapping.h"
#include "runtime/error.h"

namespace tarnwick {
namespace {

constexpr std::size_t kFirstTableSize = 16;
constexpr std::size_t kFirstChunkUnits = 64;
constexpr std::size_t kMostChunkUnits = std::size_t{32} * 1024;
constexpr std::size_t kMostSlots = std::numeric_limits<std::int32_t>::max();
constexpr std::size_t kDeadAlwaysKept = 32;

/// Whether a table of `places` is full enough, with `slots` in it, to make probing slow.
bool crowded(std::size_t slots, std::size_t places) { return slots > places / 4 * 3; }

std::size_t places_for(std::size_t slots) {
  std::size_t places = kFirstTableSize;
  while (crowded(slots, places)) places *= 2;
  return places;
}

/// Makes the next push_back or emplace_back free of failure.
template <class T>
void make_room(std::vector<T>& vector) {
  if (vector.size() == vector.capacity()) {
    vector.reserve(std::max<std::size_t>(8, vector.capacity() * 2));
  }
}

/// The folding of a key that is only looked up; the keys that occur fit without allocation.
class FoldedKey {
 public:
  explicit FoldedKey(TextView key) : size_(key.size()) {
    if (size_ > small_.size()) large_.resize(size_);
    hash_ = static_cast<std::uint32_t>(fold_and_hash(key, data()));
  }
  [[nodiscard]] TextView view() const {
    return {size_ > small_.size() ? large_.data() : small_.data(), size_};
  }
  [[nodiscard]] std::uint32_t hash() const { return hash_; }

 private:
  [[nodiscard]] char16_t* data() { return size_ > small_.size() ? large_.data() : small_.data(); }

  std::array<char16_t, 128> small_;
  Text large_;
  std::size_t size_;
  std::uint32_t hash_;
};

}  // namespace

char16_t* KeyedListIndex::KeyStore::room(std::size_t size) {
  if (chunks_.empty() || capacity_ - used_ < size) {
    const std::size_t grown = std::clamp(capacity_ * 2, kFirstChunkUnits, kMostChunkUnits);
    const std::size_t capacity = std::max(size, grown);
    chunks_.push_back(std::make_unique_for_overwrite<char16_t[]>(capacity));
    capacity_ = capacity;
    used_ = 0;
  }
  return chunks_.back().get() + used_;
}

std::uint32_t KeyedListIndex::tagged(std::size_t slot, std::uint32_t hash) const {
  const auto slot_bits = static_cast<std::uint32_t>(table_.size() - 1);
  return (hash & ~slot_bits) | static_cast<std::uint32_t>(slot + 1);
}

/// The place of the entry with this key, or the free place where it would go.
std::size_t KeyedListIndex::probe(TextView folded, std::uint32_t hash) const {
  const std::size_t mask = table_.size() - 1;
  const auto slot_bits = static_cast<std::uint32_t>(mask);
  for (std::size_t place = hash & mask;; place = (place + 1) & mask) {
    const std::uint32_t found = table_[place];
    if (found == 0) return place;
    if (((found ^ hash) & ~slot_bits) == 0 &&
        same_units(entries_[(found & slot_bits) - 1].view(), folded)) {
      return place;
    }
  }
}

void KeyedListIndex::fill_table() noexcept {
  const std::size_t mask = table_.size() - 1;
  for (std::size_t slot = 0; slot < entries_.size(); ++slot) {
    if (!entries_[slot].live()) continue;
    std::size_t place = entries_[slot].hash & mask;
    while (table_[place] != 0) place = (place + 1) & mask;
    table_[place] = tagged(slot, entries_[slot].hash);
  }
}

void KeyedListIndex::resize_table(std::size_t places) {
  table_ = std::vector<std::uint32_t>(places);
  fill_table();
}

void KeyedListIndex::reserve(std::size_t slots) {
  entries_.reserve(slots);
  const std::size_t places = places_for(slots);
  if (places > table_.size()) resize_table(places);
}

void KeyedListIndex::add(TextView key) {
  const std::size_t slot = entries_.size();
  // Untaken: no test has the memory for it.
  if (slot >= kMostSlots) throw Error(ErrorNumber::kOutOfMemory);
  // Untaken: no test has the memory for it.
  if (key.size() > std::numeric_limits<std::uint32_t>::max()) {
    throw Error(ErrorNumber::kOutOfMemory);
  }
  // The slots count, not the live ones: a slot's number has to fit into the bits of a place.
  if (table_.empty() || crowded(slot + 1, table_.size())) {
    resize_table(std::max(kFirstTableSize, table_.size() * 2));
  }
  make_room(entries_);
  if (!serials_.empty()) make_room(serials_);
  if (!dead_tree_.empty()) make_room(dead_tree_);

  char16_t* folded = keys_.room(key.size());
  const auto hash = static_cast<std::uint32_t>(fold_and_hash(key, folded));
  const std::size_t place = probe({folded, key.size()}, hash);
  if (table_[place] != 0) throw Error(ErrorNumber::kKeyAlreadyAssociated);

  table_[place] = tagged(slot, hash);
  keys_.commit(key.size());
  entries_.push_back({folded, static_cast<std::uint32_t>(key.size()), hash});
  if (!serials_.empty()) serials_.push_back(next_serial_);
  ++next_serial_;
  if (!dead_tree_.empty()) {
    // The new node sums up the dead slots of its range, of which the slot itself is none.
    const std::size_t node = dead_tree_.size() + 1;
    std::uint32_t dead = 0;
    for (std::size_t step = 1; step < (node & (~node + 1)); step *= 2) {
      dead += dead_tree_[node - step - 1];
    }
    dead_tree_.push_back(dead);
  }
}

void KeyedListIndex::remove_last() noexcept {
  const std::size_t slot = entries_.size() - 1;
  erase_from_table(slot);
  keys_.take_back(entries_[slot].size);
  entries_.pop_back();
  if (!serials_.empty()) serials_.pop_back();
  --next_serial_;
  if (!dead_tree_.empty()) dead_tree_.pop_back();
}

std::optional<std::size_t> KeyedListIndex::find(TextView key) const {
  if (table_.empty()) return std::nullopt;
  const FoldedKey folded(key);
  const std::uint32_t found = table_[probe(folded.view(), folded.hash())];
  if (found == 0) return std::nullopt;
  return (found & (table_.size() - 1)) - 1;
}

std::size_t KeyedListIndex::slot_at(std::int64_t position) const {
  if (position < 1 || static_cast<std::uint64_t>(position) > size()) {
    throw Error(ErrorNumber::kSubscriptOutOfRange);
  }
  std::size_t ahead = static_cast<std::size_t>(position) - 1;  // live slots before the wanted one
  if (dead_ == 0) return ahead;
  // Descends to the longest run of slots from the front that holds no more than `ahead` live ones.
  std::size_t slot = 0;
  for (std::size_t step = std::bit_floor(dead_tree_.size()); step != 0; step /= 2) {
    if (slot + step > dead_tree_.size()) continue;
    const std::size_t live = step - dead_tree_[slot + step - 1];
    if (live <= ahead) {
      slot += step;
      ahead -= live;
    }
  }
  return slot;
}

void KeyedListIndex::erase_from_table(std::size_t slot) noexcept {
  const std::size_t mask = table_.size() - 1;
  const auto slot_in = [&](std::size_t place) { return (table_[place] & mask) - 1; };
  std::size_t hole = entries_[slot].hash & mask;
  while (slot_in(hole) != slot) hole = (hole + 1) & mask;
  // Entries behind move into the hole unless that would put them before the place they hash to.
  for (std::size_t place = (hole + 1) & mask; table_[place] != 0; place = (place + 1) & mask) {
    const std::size_t home = entries_[slot_in(place)].hash & mask;
    if (((place - home) & mask) >= ((place - hole) & mask)) {
      table_[hole] = table_[place];
      hole = place;
    }
  }
  table_[hole] = 0;
}

void KeyedListIndex::count_dead(std::size_t slot) {
  if (dead_tree_.empty()) dead_tree_.resize(entries_.size());
  for (std::size_t node = slot + 1; node <= dead_tree_.size(); node += node & (~node + 1)) {
    ++dead_tree_[node - 1];
  }
  ++dead_;
}

bool KeyedListIndex::remove(std::size_t slot) {
  count_dead(slot);
  erase_from_table(slot);
  entries_[slot].key = nullptr;
  return dead_ > size() + kDeadAlwaysKept;
}

KeyedListIndex KeyedListIndex::without_dead_slots() const {
  KeyedListIndex compacted;
  compacted.entries_.reserve(size());
  compacted.serials_.reserve(size());
  compacted.table_.resize(places_for(size() + 1));
  for (std::size_t slot = 0; slot < entries_.size(); ++slot) {
    const Entry& entry = entries_[slot];
    if (!entry.live()) continue;
    char16_t* key = compacted.keys_.room(entry.size);
    std::ranges::copy(entry.view(), key);
    compacted.keys_.commit(entry.size);
    compacted.entries_.push_back({key, entry.size, entry.hash});
    compacted.serials_.push_back(serial_of(slot));
  }
  compacted.fill_table();
  compacted.first_serial_ = compacted.next_serial_ = next_serial_;
  compacted.generation_ = generation_ + 1;
  return compacted;
}

std::uint64_t KeyedListIndex::serial_of(std::size_t slot) const {
  return serials_.empty() ? first_serial_ + slot : serials_[slot];
}

/// The first slot whose serial is not before `serial`, which is from before the slots were counted
/// anew: without serials all of them came later.
std::size_t KeyedListIndex::slot_of_serial(std::uint64_t serial) const {
  const auto first = std::ranges::lower_bound(serials_, serial);
  return static_cast<std::size_t>(first - serials_.begin());
}

std::optional<std::size_t> KeyedListIndex::next_live(Cursor& cursor) const {
  if (cursor.generation != generation_) {
    cursor.slot = slot_of_serial(cursor.next_serial);
    cursor.generation = generation_;
  }
  while (cursor.slot < entries_.size() && !entries_[cursor.slot].live()) ++cursor.slot;
  if (cursor.slot >= entries_.size()) return std::nullopt;
  cursor.next_serial = serial_of(cursor.slot) + 1;
  return cursor.slot++;
}

}  // namespace tarnwick
