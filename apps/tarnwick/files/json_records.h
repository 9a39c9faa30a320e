#pragma once

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tarnwick::cli {

/// A record as a file tells it, before anybody knows what its fields mean.
struct RawRecord {
  struct Field {
    std::string name;
    nlohmann::ordered_json value;  // null, a Boolean, a number or a text
    std::size_t line;              // of the file, from 1
  };
  std::vector<Field> fields;
  std::size_t line;  // that it begins in
};

/// Ends a command because of what stands in this line.
[[noreturn]] void refuse_line(const std::filesystem::path& file, std::size_t line,
                              const std::string& what);

/// The content of a file of text, without a byte order mark. Throws Failure for one that is no
/// UTF-8, or no file.
[[nodiscard]] std::string read_utf8_file(const std::filesystem::path& file);

/// The bytes of a regular file. Throws Failure.
[[nodiscard]] std::string read_bytes(const std::filesystem::path& file);

/// The records in an array of objects. Throws Failure for anything else: the line, and the field
/// where there is one.
[[nodiscard]] std::vector<RawRecord> read_json_records(const std::filesystem::path& file);

}  // namespace tarnwick::cli
