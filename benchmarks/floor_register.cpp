#include "benchmarks/floor_register.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <stdexcept>

#include "benchmarks/sqlite_floor.h"

namespace tarnwick::benchmarks {
namespace {

constexpr std::array<int, PackedPc::kTexts> kTextColumns{0, 1, 6, 9, 11, 13, 15};
constexpr std::uint64_t kOnes = 0x0101010101010101u;

// Eight letters at a time, those of ASCII in lower case.
std::uint64_t folded(std::uint64_t word) {
  const std::uint64_t low = word & (0x7F * kOnes);
  const std::uint64_t from_a = low + (0x80 - 'A') * kOnes;
  const std::uint64_t behind_z = low + (0x7F - 'Z') * kOnes;
  return word | ((~word & (from_a ^ behind_z) & (0x80 * kOnes)) >> 2);
}

template <class Word>
void for_each_word(std::string_view text, Word word) {
  std::size_t i = 0;
  for (; i + 8 <= text.size(); i += 8) {
    std::uint64_t eight = 0;
    std::memcpy(&eight, text.data() + i, 8);
    word(folded(eight));
  }
  if (i == text.size()) return;
  std::uint64_t rest = 0;
  std::memcpy(&rest, text.data() + i, text.size() - i);
  word(folded(rest));
}

std::uint64_t hash_of(std::string_view mac, std::string_view computer, std::int16_t component) {
  std::uint64_t hash = static_cast<std::uint16_t>(component) + 0x9E3779B97F4A7C15u;
  const auto add = [&](std::uint64_t word) {
    hash = (hash ^ word) * 0xD6E8FEB86659FD93u;
    hash ^= hash >> 32;
  };
  for_each_word(mac, add);
  add(mac.size());
  for_each_word(computer, add);
  return hash;
}

bool same(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  std::size_t i = 0;
  for (; i + 8 <= a.size(); i += 8) {
    std::uint64_t left = 0;
    std::uint64_t right = 0;
    std::memcpy(&left, a.data() + i, 8);
    std::memcpy(&right, b.data() + i, 8);
    if (folded(left) != folded(right)) return false;
  }
  std::uint64_t left = 0;
  std::uint64_t right = 0;
  std::memcpy(&left, a.data() + i, a.size() - i);
  std::memcpy(&right, b.data() + i, a.size() - i);
  return folded(left) == folded(right);
}

}  // namespace

void FloorRegister::read_texts(sqlite3_stmt* row, PackedPc& pc) {
  std::array<std::string_view, PackedPc::kTexts> texts;
  std::size_t size = 0;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(row, kTextColumns[i]));
    const auto bytes = static_cast<std::size_t>(sqlite3_column_bytes(row, kTextColumns[i]));
    texts[i] = {text, bytes};
    size += bytes;
  }
  if (size > kTextChunk - text_used_) {
    if (size > kTextChunk) throw std::runtime_error("the floor's data has no such texts");
    memory_->texts.push_back(std::make_unique_for_overwrite<char[]>(kTextChunk));
    text_used_ = 0;
  }
  char* const begin = memory_->texts.back().get() + text_used_;
  char* place = begin;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (!texts[i].empty()) std::memcpy(place, texts[i].data(), texts[i].size());
    place += texts[i].size();
    pc.ends[i] = static_cast<std::uint32_t>(place - begin);
  }
  pc.texts = begin;
  text_used_ += size;
}

void FloorRegister::load(sqlite3_stmt* rows) {
  while (step(rows)) {
    if (size_ % kChunk == 0) memory_->pcs.push_back(std::make_unique<PackedPc[]>(kChunk));
    PackedPc& pc = memory_->pcs.back()[size_++ % kChunk];
    read_texts(rows, pc);
    pc.comp_id = static_cast<std::int16_t>(sqlite3_column_int(rows, 2));
    pc.maintenance_type = sqlite3_column_int(rows, 3);
    pc.active = sqlite3_column_int(rows, 4) != 0;
    pc.image_index = static_cast<std::int16_t>(sqlite3_column_int(rows, 5));
    pc.last_login = sqlite3_column_double(rows, 7);
    pc.total_logins = sqlite3_column_int(rows, 8);
    pc.activate_date = sqlite3_column_double(rows, 10);
    pc.deactivated_date = sqlite3_column_double(rows, 12);
    if (const void* version = sqlite3_column_blob(rows, 14)) {
      const auto bytes = static_cast<std::size_t>(sqlite3_column_bytes(rows, 14));
      std::memcpy(pc.row_version.data(), version, std::min(bytes, pc.row_version.size()));
    }
  }
  fill_table();
}

void FloorRegister::fill_table() {
  table_.assign(std::bit_ceil(size_ / 2 * 3 + 1), 0);
  const std::size_t mask = table_.size() - 1;
  for (std::size_t position = 0; position < size_; ++position) {
    const PackedPc& pc = (*this)[position];
    const std::string_view mac = pc.text(PackedPc::kMac);
    const std::string_view computer = pc.text(PackedPc::kComputer);
    const std::uint64_t hash = hash_of(mac, computer, pc.comp_id);
    std::size_t place = hash & mask;
    for (; table_[place] != 0; place = (place + 1) & mask) {
      if (table_[place] >> 32 != hash >> 32) continue;
      const PackedPc& there = (*this)[(table_[place] & 0xFFFFFFFFu) - 1];
      if (there.comp_id == pc.comp_id && same(there.text(PackedPc::kMac), mac) &&
          same(there.text(PackedPc::kComputer), computer)) {
        throw std::runtime_error("two PCs have the same key");
      }
    }
    table_[place] = (hash & 0xFFFFFFFF00000000u) | (position + 1);
  }
}

FloorRegister::Handle FloorRegister::find(std::string_view mac, std::string_view computer,
                                          std::int16_t component) const {
  const PackedPc* const pc = search(mac, computer, component);
  return pc == nullptr ? Handle() : Handle(memory_, pc);
}

FloorRegister::Handle FloorRegister::at(std::size_t position) const {
  if (position >= size_) throw std::out_of_range("no such PC");
  return {memory_, &(*this)[position]};
}

FloorRegister::Handle FloorRegister::Walk::next() {
  return position_ == pcs_->size_ ? Handle() : pcs_->at(position_++);
}

const PackedPc* FloorRegister::search(std::string_view mac, std::string_view computer,
                                      std::int16_t component) const {
  const std::uint64_t hash = hash_of(mac, computer, component);
  const std::size_t mask = table_.size() - 1;
  for (std::size_t place = hash & mask; table_[place] != 0; place = (place + 1) & mask) {
    if (table_[place] >> 32 != hash >> 32) continue;
    const PackedPc& pc = (*this)[(table_[place] & 0xFFFFFFFFu) - 1];
    if (pc.comp_id == component && same(pc.text(PackedPc::kMac), mac) &&
        same(pc.text(PackedPc::kComputer), computer)) {
      return &pc;
    }
  }
  return nullptr;
}

}  // namespace tarnwick::benchmarks
