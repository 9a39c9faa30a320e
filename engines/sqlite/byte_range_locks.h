#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

namespace tarnwick::sqlite {

/// Bytes `first` to `last` of a file, both included. They need not exist.
struct ByteRange {
  std::int64_t first = 0;
  std::int64_t last = 0;
  friend bool operator==(const ByteRange&, const ByteRange&) = default;
};

/// A file with exclusive advisory locks on ranges of its bytes. Locks belong to this object: two
/// objects exclude each other in one process as well as between processes, and the operating system
/// frees all of an object's locks when it or its process ends. Locks of the object's own never
/// conflict. Operations throw AdoError when the system refuses them.
///
/// Where a system can only unlock what was locked in one piece, a piece stays locked for the others
/// until all of it was unlocked.
class ByteRangeLocks final {
 public:
  /// Opens `file`; makes it, with owner and permissions of the file `like`, when it is not there.
  /// Refuses what is no regular file with one name, or belongs to somebody who may not write
  /// `like`.
  ByteRangeLocks(const std::filesystem::path& file, const std::filesystem::path& like);
  ~ByteRangeLocks();
  ByteRangeLocks(const ByteRangeLocks&) = delete;
  ByteRangeLocks& operator=(const ByteRangeLocks&) = delete;

  /// Without waiting: false when another object holds a lock in `range`.
  [[nodiscard]] bool try_lock(ByteRange range);
  /// Of locks that are held: it cannot fail.
  void unlock(ByteRange range) noexcept;

  /// Some range inside `range` that another object has locked.
  [[nodiscard]] std::optional<ByteRange> foreign_lock(ByteRange range) const;
  /// All of them, in order, cut to `range`.
  [[nodiscard]] std::vector<ByteRange> foreign_locks(ByteRange range) const;

  void write_at(std::int64_t offset, std::string_view bytes);
  /// Fills `bytes` from `offset` on; false when the file does not reach that far.
  [[nodiscard]] bool read_at(std::int64_t offset, std::span<char> bytes) const;

  /// The process that the caller runs in, as the system's tools show it.
  [[nodiscard]] static std::int64_t process_id();

 private:
  struct System;  // what each operating system needs
  std::unique_ptr<System> system_;
};

}  // namespace tarnwick::sqlite
