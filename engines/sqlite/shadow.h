#pragma once

#include <memory>

#include "engines/sqlite/database.h"

namespace tarnwick::sqlite {

/// The database as it stands when this is made, to write to and to throw away: SQLite itself on the
/// same file, but none of its writes reaches it and none of its locks. Neither holds up other
/// sessions' writing nor is held up by it, however long it lasts; what they commit meanwhile is not
/// seen. `origin`, which uses the write-ahead log, is busy with it until it ends.
///
/// How: a read transaction of `origin` keeps what SQLite's snapshot consists of in its place, which
/// is the database file and the frames of the log that were committed by then. A connection of its
/// own reads both through a file system layer that answers no lock, ends the log where the snapshot
/// ends and refuses to write. SQLite keeps that connection's index of the log and all changed pages
/// in memory.
class Shadow final {
 public:
  explicit Shadow(Database& origin);
  ~Shadow();
  Shadow(const Shadow&) = delete;
  Shadow& operator=(const Shadow&) = delete;

  /// Inside a transaction that can be written in.
  [[nodiscard]] Database& database() { return *database_; }

 private:
  class Layer;
  class Reading;
  std::unique_ptr<Reading> reading_;
  std::unique_ptr<Layer> layer_;
  std::unique_ptr<Database> database_;
};

}  // namespace tarnwick::sqlite
