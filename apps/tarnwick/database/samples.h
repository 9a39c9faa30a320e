#pragma once

#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "ado/connection.h"

namespace tarnwick::cli {

/// The rows of one table, as a file of sample data tells them.
class SampleFile final {
 public:
  /// Throws Failure when the file cannot be read.
  explicit SampleFile(std::filesystem::path file);

  [[nodiscard]] std::size_t size() const { return rows_.size(); }

  /// Throws Failure for a value that makes no sense, Error when the database refuses a row.
  void insert_into(const std::shared_ptr<ado::Connection>& connection, TextView table) const;

 private:
  [[nodiscard]] Variant variant_of(const std::string& column,
                                   const nlohmann::ordered_json& value) const;
  [[noreturn]] void complain(const std::string& what) const;

  std::filesystem::path file_;
  nlohmann::ordered_json rows_;
};

/// The sample data in a folder; its README tells their form.
struct Samples {
  /// Throws Failure when a file cannot be read.
  explicit Samples(const std::filesystem::path& folder);

  /// Inserts all of them, or none. Throws as SampleFile::insert_into.
  void insert_into(const std::shared_ptr<ado::Connection>& connection) const;

  SampleFile components;
  SampleFile pcs;
  SampleFile reports;
};

/// Where the samples of this installation lie: beside the program, or in the tree that it was built
/// from. Throws Failure when they are in neither place.
[[nodiscard]] std::filesystem::path samples_folder();

}  // namespace tarnwick::cli
