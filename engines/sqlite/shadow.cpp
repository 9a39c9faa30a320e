#include "engines/sqlite/shadow.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <optional>

namespace tarnwick::sqlite {
namespace {

// SQLite's file format documents the shared index of the write-ahead log ("WAL-Index File Format"):
// its head stands there twice, written one after the other, then how many frames of the log have
// been copied to the database file.
struct IndexHead {
  std::uint32_t version;
  std::uint32_t unused;
  std::uint32_t change;
  std::uint8_t initialized;
  std::uint8_t big_endian_checksums;
  std::uint16_t page_size;  // 1 stands for 65,536
  std::uint32_t frames;     // in the log, committed
  std::uint32_t pages;
  std::uint32_t frame_checksum[2];
  std::uint32_t salt[2];
  std::uint32_t checksum[2];
};
static_assert(sizeof(IndexHead) == 48);

constexpr std::uint32_t kIndexVersion = 3007000;
constexpr int kIndexRegion = 32 * 1024;
constexpr std::int64_t kLogHeadSize = 32;
constexpr std::int64_t kFrameHeadSize = 24;
/// A head that somebody is writing at the moment is whole after a few looks.
constexpr int kLooks = 1000;

template <class T>
T copy_shared(const volatile std::byte* from) {
  std::array<std::byte, sizeof(T)> bytes;
  std::copy(from, from + sizeof(T), bytes.begin());
  T value;
  std::memcpy(&value, bytes.data(), sizeof value);
  return value;
}

bool same(const IndexHead& a, const IndexHead& b) { return std::memcmp(&a, &b, sizeof a) == 0; }

/// How many bytes of the log belong to what `origin`, which is reading, could read at this moment;
/// nothing while the index is being written.
std::optional<std::int64_t> look_at_log(Database& origin) {
  sqlite3_file* file = nullptr;
  sqlite3_file_control(origin.handle(), "main", SQLITE_FCNTL_FILE_POINTER, &file);
  volatile void* region = nullptr;
  const int code = file->pMethods->xShmMap(file, 0, kIndexRegion, 0, &region);
  // Untaken: `origin` reads by this very index, so that it is there.
  if (code != SQLITE_OK) throw_sqlite_error(nullptr, code);
  // Untaken: as above.
  if (region == nullptr) throw_sqlite_error(nullptr, SQLITE_PROTOCOL);
  const auto* const index = static_cast<const volatile std::byte*>(region);
  for (int look = 0; look < kLooks; ++look) {
    const auto first = copy_shared<IndexHead>(index);
    file->pMethods->xShmBarrier(file);
    const auto second = copy_shared<IndexHead>(index + sizeof(IndexHead));
    const auto copied = copy_shared<std::uint32_t>(index + 2 * sizeof(IndexHead));
    file->pMethods->xShmBarrier(file);
    const auto again = copy_shared<IndexHead>(index);
    if (first.initialized == 0 || !same(first, second) || !same(first, again)) continue;
    if (first.version != kIndexVersion) throw_sqlite_error(nullptr, SQLITE_CANTOPEN);
    // A log that has been copied whole may be written anew from its beginning while nobody reads
    // it; the database file alone is the snapshot then, and stays so as long as `origin` reads.
    // Otherwise the log only grows: what is left of it to be copied is behind what `origin` reads,
    // or `origin` itself reads from it.
    if (first.frames == copied) return 0;
    const std::int64_t page = first.page_size == 1 ? 65'536 : first.page_size;
    return kLogHeadSize + std::int64_t{first.frames} * (kFrameHeadSize + page);
  }
  return std::nullopt;
}

/// The database file, or its log: the system's file behind it, if there is one, is only read.
struct ReadFile : sqlite3_file {
  sqlite3_file* system;
  std::int64_t end;  // of the log; negative for the database file, which ends where it ends
};

ReadFile& self(sqlite3_file* file) { return *static_cast<ReadFile*>(file); }

const sqlite3_io_methods kReadMethods = {
    .iVersion = 1,
    .xClose =
        [](sqlite3_file* file) {
          sqlite3_file* const system = self(file).system;
          return system != nullptr ? system->pMethods->xClose(system) : SQLITE_OK;
        },
    .xRead =
        [](sqlite3_file* file, void* bytes, int size, sqlite3_int64 offset) {
          ReadFile& read = self(file);
          // Untaken: SQLite asks for the size of a log, and reads the frames within.
          if (read.end >= 0 && offset + size > read.end) return SQLITE_IOERR_READ;
          return read.system->pMethods->xRead(read.system, bytes, size, offset);
        },
    .xWrite = [](sqlite3_file*, const void*, int, sqlite3_int64) { return SQLITE_IOERR_WRITE; },
    .xTruncate = [](sqlite3_file*, sqlite3_int64) { return SQLITE_IOERR_TRUNCATE; },
    .xSync = [](sqlite3_file*, int) { return SQLITE_OK; },
    .xFileSize =
        [](sqlite3_file* file, sqlite3_int64* size) {
          ReadFile& read = self(file);
          if (read.end < 0) return read.system->pMethods->xFileSize(read.system, size);
          *size = read.end;
          return SQLITE_OK;
        },
    .xLock = [](sqlite3_file*, int) { return SQLITE_OK; },
    .xUnlock = [](sqlite3_file*, int) { return SQLITE_OK; },
    .xCheckReservedLock =
        [](sqlite3_file*, int* reserved) {
          *reserved = 0;
          return SQLITE_OK;
        },
    .xFileControl = [](sqlite3_file*, int, void*) { return SQLITE_NOTFOUND; },
    .xSectorSize = [](sqlite3_file*) { return 0; },
    .xDeviceCharacteristics = [](sqlite3_file*) { return 0; },
    .xShmMap = nullptr,
    .xShmLock = nullptr,
    .xShmBarrier = nullptr,
    .xShmUnmap = nullptr,
    .xFetch = nullptr,
    .xUnfetch = nullptr,
};

}  // namespace

/// Keeps the snapshot in its place.
class Shadow::Reading final {
 public:
  // Made by the other constructor, so that the destructor comes whatever fails in this one.
  explicit Reading(Database& origin) : Reading(origin, 0) {
    for (;;) {
      origin_.begin_reading();
      if (const auto bytes = look_at_log(origin_)) {
        log_bytes_ = *bytes;
        return;
      }
      origin_.rollback();
      if (!origin_.time().pause()) throw ado::lock_timeout();
    }
  }
  ~Reading() { origin_.rollback(); }
  Reading(const Reading&) = delete;
  Reading& operator=(const Reading&) = delete;
  [[nodiscard]] std::int64_t log_bytes() const { return log_bytes_; }

 private:
  Reading(Database& origin, std::int64_t log_bytes) : origin_(origin), log_bytes_(log_bytes) {}

  Database& origin_;
  std::int64_t log_bytes_;
};

/// The file system of the shadow's connection.
class Shadow::Layer final : private sqlite3_vfs {
 public:
  explicit Layer(std::int64_t log_bytes)
      : sqlite3_vfs(*sqlite3_vfs_find(nullptr)),
        system_(sqlite3_vfs_find(nullptr)),
        log_bytes_(log_bytes),
        name_("tarnwick-shadow-" + std::to_string(reinterpret_cast<std::uintptr_t>(this))) {
    szOsFile += static_cast<int>(sizeof(ReadFile));
    pNext = nullptr;
    zName = name_.c_str();
    xOpen = open;
    xDelete = [](sqlite3_vfs*, const char*, int) { return SQLITE_OK; };
    xAccess = access;
    const int code = sqlite3_vfs_register(this, 0);
    // Untaken: it fails only where SQLite cannot be initialised, and `origin` is open.
    if (code != SQLITE_OK) throw_sqlite_error(nullptr, code);
  }
  ~Layer() { sqlite3_vfs_unregister(this); }
  Layer(const Layer&) = delete;
  Layer& operator=(const Layer&) = delete;

  [[nodiscard]] const char* name() const { return zName; }

 private:
  static int open(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags,
                  int* out_flags) {
    const auto& layer = *static_cast<Layer*>(vfs);
    file->pMethods = nullptr;
    const bool log = (flags & SQLITE_OPEN_WAL) != 0;
    if (!log && (flags & SQLITE_OPEN_MAIN_DB) == 0) {
      // Untaken: a database with a log has no journal.
      if ((flags & (SQLITE_OPEN_MAIN_JOURNAL | SQLITE_OPEN_SUPER_JOURNAL)) != 0) {
        return SQLITE_CANTOPEN;
      }
      return layer.system_->xOpen(layer.system_, name, file, flags, out_flags);  // SQLite's own
    }
    auto* const read = new (file) ReadFile{{nullptr}, nullptr, log ? layer.log_bytes_ : -1};
    if (!log || layer.log_bytes_ != 0) {
      read->system = reinterpret_cast<sqlite3_file*>(read + 1);
      constexpr int kWriting = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
      const int reading = log ? (flags & ~kWriting) | SQLITE_OPEN_READONLY : flags;
      int ignored = 0;
      const int code = layer.system_->xOpen(layer.system_, name, read->system, reading, &ignored);
      if (code != SQLITE_OK) return code;
    }
    // Untaken: SQLite wants to know it of both files.
    if (out_flags != nullptr) *out_flags = flags;
    file->pMethods = &kReadMethods;
    return SQLITE_OK;
  }

  /// Of what SQLite looks for beside a database there may be the log alone.
  static int access(sqlite3_vfs* vfs, const char* name, int /*flags*/, int* result) {
    const auto& layer = *static_cast<Layer*>(vfs);
    *result = layer.log_bytes_ != 0 && std::string_view(name).ends_with("-wal") ? 1 : 0;
    return SQLITE_OK;
  }

  sqlite3_vfs* system_;
  std::int64_t log_bytes_;
  std::string name_;
};

Shadow::Shadow(Database& origin)
    : reading_(std::make_unique<Reading>(origin)),
      layer_(std::make_unique<Layer>(reading_->log_bytes())) {
  const std::string_view name = sqlite3_db_filename(origin.handle(), "main");
  database_ =
      std::make_unique<Database>(std::filesystem::path(std::u8string(name.begin(), name.end())),
                                 layer_->name(), origin.shared_time());
  database_->begin_immediate();
}

Shadow::~Shadow() { database_->rollback(); }

}  // namespace tarnwick::sqlite
