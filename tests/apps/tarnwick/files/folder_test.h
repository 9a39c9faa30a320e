#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "tests/apps/tarnwick/command_line_test.h"

namespace tarnwick::cli {

/// All files below `folder` by their paths in it, byte for byte.
inline std::map<std::string, std::string> files_in(const std::filesystem::path& folder) {
  std::map<std::string, std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (!entry.is_regular_file()) continue;
    files[std::filesystem::relative(entry.path(), folder).string()] = content_of(entry.path());
  }
  return files;
}

inline std::vector<std::string> names_in(const std::filesystem::path& folder) {
  std::vector<std::string> names;
  for (const auto& [name, content] : files_in(folder)) names.push_back(name);
  return names;
}

/// The sample database, and a folder to export it to.
class FolderTest : public CommandLineTest {
 protected:
  [[nodiscard]] std::filesystem::path catalog() const { return folder_.path() / "catalog"; }
  [[nodiscard]] Json document(const std::string& name) const {
    return Json::parse(content_of(catalog() / name));
  }
  /// Writes the document anew, as `change` leaves it.
  void edit(const std::string& name, const std::function<void(Json&)>& change) const {
    Json records = document(name);
    change(records);
    folder_.write("catalog/" + name, records.dump(1));
  }
  static Json& record(Json& records, const std::string& field, const Json& value) {
    for (Json& each : records) {
      if (each[field] == value) return each;
    }
    ADD_FAILURE() << field << " " << value;
    return records.front();
  }
  void export_catalog() const { say({"export", catalog().string()}); }

  /// Makes another database of a folder.
  [[nodiscard]] Ending init_from(const std::filesystem::path& folder,
                                 const std::string& database) const {
    return run_with({}, {"init", (folder_.path() / database).string(), "--role", kRole,
                         "--password-file", password_file_, "--from", folder.string()});
  }
  /// A command on that one.
  [[nodiscard]] Start start_on(const std::string& database,
                               std::vector<std::string> arguments) const {
    Start other = start(std::move(arguments));
    other.environment["TARNWICK_CONNECT"] =
        "Provider=Tarnwick.Embedded;Data Source=" + (folder_.path() / database).string();
    return other;
  }
};

}  // namespace tarnwick::cli
