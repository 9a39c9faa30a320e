#include "apps/tarnwick/files/comparison.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <optional>
#include <string>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/files/json_records.h"
#include "apps/tarnwick/files/report_files.h"
#include "apps/tarnwick/maintenance/loading.h"
#include "apps/tarnwick/maintenance/maintenance.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/component_tree.h"
#include "apps/tarnwick/output/progress.h"
#include "apps/tarnwick/service/scratch_folder.h"
#include "runtime/error.h"

namespace tarnwick::cli {
namespace {

using Json = nlohmann::ordered_json;
using Action = Change::Action;

Loaded load(const Session& session, automation::ClassId record_class) {
  if (record_class == automation::ClassId::kComponent) return load_components(session);
  return record_class == automation::ClassId::kReport ? load_reports(session) : load_pcs(session);
}

// Those of the folder alone, one by one.
StoredRecords::Rows read_one_by_one(const Session& session, const std::vector<FileRecord>& wanted) {
  StoredRecords::Rows read{.rows = {}, .all = false, .held = {}};
  for (const FileRecord& record : wanted) {
    const Row key = key_of(record.row);
    try {
      read.rows.push_back(stored_row(session, key));
    } catch (const Failure& failure) {
      if (failure.code() == ExitCode::kLocked) {
        read.held.insert(identity_of(key));
      } else if (failure.code() != ExitCode::kMissing) {
        throw;
      }
    }
  }
  return read;
}

StoredRecords::Rows load_class(const Session& session, const Document& document,
                               const std::vector<FileRecord>* wanted) {
  try {
    Loaded loaded = load(session, document.record_class);
    require_complete(loaded);
    if (loaded.gaps) {
      throw Failure(ExitCode::kFailed, "What cannot be had cannot be compared.");
    }
    return {.rows = std::move(loaded.rows), .all = true, .held = {}};
  } catch (const Failure& failure) {
    if (wanted == nullptr || failure.code() != ExitCode::kLocked) throw;
  }
  return read_one_by_one(session, *wanted);
}

// A stored text may have no form in a file: it differs from all that have one.
Json stored_value(const AttributeValue& value) {
  try {
    return to_file_value(value);
  } catch (const Error&) {
    return to_display_utf8(std::get<Text>(value));
  }
}

// What the object model never writes as nothing: where it finds nothing it writes something else.
bool is_replaced(const Row& row, const Attribute& attribute) {
  const bool report = row.record_class() == automation::ClassId::kReport;
  const std::string_view name = attribute.name();
  return report ? name == "Created" || name == "Version" : name == "ImageIndex";
}

// What stays as it is stored where there is nothing to write.
bool is_kept(const Attribute& attribute) {
  return attribute.form == Form::kOwn || std::holds_alternative<Date>(attribute.zero);
}

/// Compares the records of the folder with those of the database.
class Comparison final {
 public:
  explicit Comparison(const Session& session) : session_(session) {}

  /// The change of one record; nothing where there is no difference. `stored` is null where the
  /// database has none.
  std::optional<Change> compare(const FileRecord& record, const Row* stored) {
    try {
      return compare_with(record, stored);
    } catch (const Failure& failure) {
      if (failure.code() != ExitCode::kLocked) throw;
      return held(record);
    }
  }

  static Change held(const FileRecord& record) {
    return {.action = Action::kHeld, .row = key_of(record.row), .record = &record};
  }

 private:
  std::optional<Change> compare_with(const FileRecord& record, const Row* stored) {
    Row wanted = record.row;
    read_nulls(wanted);
    Change change{.action = stored == nullptr ? Action::kAdd : Action::kLeave,
                  .row = stored == nullptr ? key_of(wanted) : *stored,
                  .record = &record};
    for (const FileField& field : file_fields(wanted.record_class())) {
      auto difference = field.kind == FileField::Kind::kValue ? compare_value(field, wanted, stored)
                                                              : compare_file(field, record, stored);
      if (!difference) continue;
      if (difference->written && stored != nullptr) change.action = Action::kChange;
      change.differences.push_back(std::move(*difference));
    }
    if (stored != nullptr && change.differences.empty()) return std::nullopt;
    return change;
  }

  static std::optional<Difference> compare_value(const FileField& field, const Row& wanted,
                                                 const Row* stored) {
    const Attribute& attribute = *field.attribute;
    const bool nothing = wanted[attribute] == attribute.zero;
    const bool replaced = nothing && attribute.stored && is_replaced(wanted, attribute);
    Difference difference{.field = &field,
                          .stored = nullptr,
                          .wanted = to_file_value(wanted[attribute]),
                          .written = attribute.stored && !replaced};
    if (stored == nullptr) {
      // Of a new record only what is there is told.
      if (nothing && !replaced) return std::nullopt;
      return difference;
    }
    difference.stored = stored_value((*stored)[attribute]);
    if (difference.stored == difference.wanted) return std::nullopt;
    difference.written = difference.written && !(nothing && is_kept(attribute));
    return difference;
  }

  std::optional<Difference> compare_file(const FileField& field, const FileRecord& record,
                                         const Row* stored) {
    const bool ttx = field.kind == FileField::Kind::kTtx;
    const auto& file = ttx ? record.ttx : record.report_file;
    std::optional<std::string> there;
    if (stored != nullptr) there = ttx ? stored_ttx(*stored) : stored_report_file(*stored);
    std::optional<std::string> wanted;
    if (!file.empty()) wanted = read_bytes(file);
    if (ttx && wanted && wanted->empty()) wanted.reset();  // the object model knows no difference
    if (there == wanted) return std::nullopt;
    const bool alike = there && wanted && there->size() == wanted->size();
    return Difference{.field = &field,
                      .stored = size_of(there, ""),
                      .wanted = size_of(wanted, alike ? "other " : ""),
                      .written = wanted.has_value()};
  }

  static Json size_of(const std::optional<std::string>& bytes, const char* which) {
    if (!bytes) return nullptr;
    return fmt::format("{} {}bytes", bytes->size(), which);
  }

  static std::optional<std::string> stored_ttx(const Row& report) {
    std::string bytes = ttx_bytes(report);
    if (bytes.empty()) return std::nullopt;
    return bytes;
  }

  std::optional<std::string> stored_report_file(const Row& report) {
    const auto file = scratch_.path() / "report.rpt";
    if (!extract_report_file(session_, report, file)) return std::nullopt;
    return read_bytes(file);
  }

  const Session& session_;
  ScratchFolder scratch_;
};

// All components of the changes in the order of their tree.
std::vector<Row> in_order_of_tree(const std::vector<Row>& components) {
  std::vector<Row> ordered;
  for (const TreeNode& node : in_tree_order(components)) ordered.push_back(*node.component);
  return ordered;
}

// New components before their children; all others as they come.
void order_additions(std::vector<Change>& changes) {
  const auto added = std::stable_partition(changes.begin(), changes.end(), [](const Change& each) {
    return each.action == Action::kAdd;
  });
  std::vector<Row> wanted;
  for (auto at = changes.begin(); at != added; ++at) {
    wanted.push_back(at->record->row);
    read_nulls(wanted.back());
  }
  std::map<Text, std::size_t> place;
  for (const Row& row : in_order_of_tree(wanted)) place.emplace(identity_of(row), place.size());
  std::sort(changes.begin(), added, [&](const Change& a, const Change& b) {
    return place.at(identity_of(a.row)) < place.at(identity_of(b.row));
  });
}

// What only the database holds, in the order of the tree for components.
std::vector<Change> deletions(const StoredRecords::Rows& stored, const std::set<Text>& wanted,
                              automation::ClassId record_class) {
  std::vector<Change> changes;
  if (!stored.all) return changes;
  const bool tree = record_class == automation::ClassId::kComponent;
  for (Row& row : tree ? in_order_of_tree(stored.rows) : std::vector<Row>(stored.rows)) {
    if (wanted.contains(identity_of(row))) continue;
    changes.push_back({.action = Action::kDelete, .row = std::move(row)});
  }
  return changes;
}

}  // namespace

StoredRecords load_stored(const Session& session, const RecordFolder* wanted) {
  StoredRecords stored;
  for (std::size_t i = 0; i < kDocumentCount; ++i) {
    stored.classes[i] =
        load_class(session, documents()[i], wanted == nullptr ? nullptr : &(*wanted)[i]);
  }
  return stored;
}

std::vector<Change> compare(const Session& session, const RecordFolder& folder,
                            const StoredRecords& stored) {
  const Progress progress("Comparing");
  Comparison comparison(session);
  std::vector<Change> all;
  std::vector<Change> deleted;
  for (std::size_t i = 0; i < kDocumentCount; ++i) {
    const StoredRecords::Rows& there = stored.classes[i];
    std::map<Text, const Row*> rows;
    for (const Row& row : there.rows) rows.emplace(identity_of(row), &row);
    std::set<Text> wanted;
    std::vector<Change> changes;
    for (const FileRecord& record : folder[i]) {
      const Text identity = identity_of(record.row);
      wanted.insert(identity);
      if (there.held.contains(identity)) {
        changes.push_back(Comparison::held(record));
        continue;
      }
      const auto row = rows.find(identity);
      auto change = comparison.compare(record, row == rows.end() ? nullptr : row->second);
      if (change) changes.push_back(std::move(*change));
    }
    const automation::ClassId record_class = documents()[i].record_class;
    if (record_class == automation::ClassId::kComponent) order_additions(changes);
    std::ranges::move(changes, std::back_inserter(all));
    std::ranges::move(deletions(there, wanted, record_class), std::back_inserter(deleted));
  }
  std::move(deleted.rbegin(), deleted.rend(), std::back_inserter(all));
  return all;
}

}  // namespace tarnwick::cli
