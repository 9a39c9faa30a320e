#pragma once

#include <sqlite3.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace tarnwick::benchmarks {

/// A PC as a program keeps it that cares about speed. Its texts lie one behind the other in UTF-8.
struct PackedPc {
  enum Text { kMac, kComputer, kUser, kActivatedBy, kDeactivatedBy, kSoftLock, kSoftware, kTexts };

  const char* texts = nullptr;
  std::array<std::uint32_t, kTexts> ends{};
  std::int32_t maintenance_type = 0;
  double last_login = 0;
  double activate_date = 0;
  double deactivated_date = 0;
  std::array<unsigned char, 8> row_version{};
  std::int32_t total_logins = 0;
  std::int16_t comp_id = 0;
  std::int16_t image_index = 0;
  bool active = false;

  [[nodiscard]] std::string_view text(Text which) const {
    const std::uint32_t begin = which == 0 ? 0 : ends[which - 1u];
    return {texts + begin, ends[which] - begin};
  }
};

/// The register of PCs as it is written by hand: records and texts in large pieces of memory,
/// nothing allocated for a row, a table with open addressing from the keys to the records. Keys
/// compare without regard to case, as the column does. Hands out what ours does: references that
/// are counted, so that a PC stays valid whatever becomes of the register. As nothing here is
/// allocated for a row, all keep the whole register.
class FloorRegister {
 public:
  using Handle = std::shared_ptr<const PackedPc>;

  /// Reads all rows of the statement, which has the columns of kFloorList.
  void load(sqlite3_stmt* rows);

  [[nodiscard]] std::size_t size() const { return size_; }
  /// From 0.
  [[nodiscard]] const PackedPc& operator[](std::size_t position) const {
    return memory_->pcs[position / kChunk][position % kChunk];
  }
  /// Null where there is none.
  [[nodiscard]] Handle find(std::string_view mac, std::string_view computer,
                            std::int16_t component) const;
  /// From 0. Throws std::out_of_range.
  [[nodiscard]] Handle at(std::size_t position) const;

  /// Walks the PCs in their order.
  class Walk {
   public:
    explicit Walk(const FloorRegister& pcs) : pcs_(&pcs) {}
    /// Null at the end.
    [[nodiscard]] Handle next();

   private:
    const FloorRegister* pcs_;
    std::size_t position_ = 0;
  };

 private:
  static constexpr std::size_t kChunk = 4096;
  static constexpr std::size_t kTextChunk = std::size_t{1} << 20;

  void read_texts(sqlite3_stmt* row, PackedPc& pc);
  [[nodiscard]] const PackedPc* search(std::string_view mac, std::string_view computer,
                                       std::int16_t component) const;
  void fill_table();

  // What handles keep.
  struct Memory {
    std::vector<std::unique_ptr<PackedPc[]>> pcs;
    std::vector<std::unique_ptr<char[]>> texts;
  };
  std::shared_ptr<Memory> memory_ = std::make_shared<Memory>();
  std::size_t size_ = 0;
  std::size_t text_used_ = kTextChunk;
  std::vector<std::uint64_t> table_;  // the hash above, the position and 1 below; 0: free
};

/// What the floors read, in the order of the register.
inline constexpr const char* kFloorList =
    "SELECT MACNbr, ComputerID, CompID, MaintType, ActiveStatus, ImageIndex, LastUser, LastLogin, "
    "TotalLogins, ActivatedBy, ActivateDate, DeactivatedBy, DeactivateDate, SoftLock, RowVersion, "
    "SoftwareVersion FROM DW_SEC_PC ORDER BY MACNbr";

}  // namespace tarnwick::benchmarks
