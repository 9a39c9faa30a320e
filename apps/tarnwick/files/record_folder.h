#pragma once

#include <array>
#include <filesystem>
#include <map>
#include <string_view>
#include <vector>

#include "apps/tarnwick/files/file_fields.h"

namespace tarnwick::cli {

/// A record that stands in a file.
struct FileRecord {
  Row row;                                      // the values, Empty where the file has null
  std::map<std::string_view, Text> codes = {};  // as the file spells them, by their fields
  // Files that hold more of it; empty: none.
  std::filesystem::path ttx = {};
  std::filesystem::path report_file = {};
};

/// The records of a database as files, in the order of documents().
using RecordFolder = std::array<std::vector<FileRecord>, kDocumentCount>;

// What stands in such a folder beside the documents.
inline constexpr std::string_view kReportsFolder = "reports";
inline constexpr std::string_view kTable = "pcs.csv";  // instead of pcs.json
/// There while an export is put in place.
inline constexpr std::string_view kUnfinished = ".tarnwick-unfinished";

/// Reads all that is in the folder. Throws Failure for what is not whole or makes no sense: the
/// file, the line and the field.
[[nodiscard]] RecordFolder read_folder(const std::filesystem::path& folder);

/// What tells a record from all others of its class, whatever the letter case.
[[nodiscard]] Text identity_of(const Row& row);

/// Whether it may name a file in the folder of report files: no path that leads elsewhere.
[[nodiscard]] bool is_plain_file_name(std::string_view name);

}  // namespace tarnwick::cli
