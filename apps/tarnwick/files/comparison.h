#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <set>
#include <vector>

#include "apps/tarnwick/files/record_folder.h"
#include "apps/tarnwick/session/session.h"

namespace tarnwick::cli {

/// The rows of the database that a folder is compared with.
struct StoredRecords {
  struct Rows {
    std::vector<Row> rows;
    /// Whether these are all. Otherwise they are those that the folder holds too, without the ones
    /// that another process maintains.
    bool all = true;
    std::set<Text> held;  // their identities
  };
  std::array<Rows, kDocumentCount> classes;
};

/// Loads them. A class that cannot be loaded because another process maintains one of its rows is
/// read row by row where `wanted` is given. Throws Failure.
[[nodiscard]] StoredRecords load_stored(const Session& session, const RecordFolder* wanted);

/// A field in which a record of the folder differs from its row, as both stand in files; files are
/// told by their sizes.
struct Difference {
  const FileField* field;
  nlohmann::ordered_json stored;
  nlohmann::ordered_json wanted;
  bool written;  // whether the object model writes it; otherwise it is left as it is
};

/// What becomes of one record.
struct Change {
  enum class Action : std::uint8_t {
    kAdd,
    kChange,
    kDelete,
    kLeave,  // there are differences, and nothing to write
    kHeld,   // another process maintains it: nobody knows
  };
  Action action;
  Row row;                             // as it is stored; for kAdd and kHeld its key
  const FileRecord* record = nullptr;  // what is to become of it; null for kDelete
  std::vector<Difference> differences = {};

  [[nodiscard]] bool writes() const { return action != Action::kLeave && action != Action::kHeld; }
};

/// What makes the stored records those of the folder, in an order that leaves no record without
/// those that it stands under: components before their children and their PCs, and what only the
/// database holds (kDelete) last, the other way round. `folder` must outlive it. Throws Failure.
[[nodiscard]] std::vector<Change> compare(const Session& session, const RecordFolder& folder,
                                          const StoredRecords& stored);

}  // namespace tarnwick::cli
