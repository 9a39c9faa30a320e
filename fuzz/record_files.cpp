// Folders of records as files: JSON and CSV that somebody wrote by hand, or another program.

#include "apps/tarnwick/files/record_folder.h"

#include <string>

#include "apps/tarnwick/failure.h"
#include "fuzz/target.h"
#include "tests/support/temporary_folder.h"

namespace tarnwick::fuzz {

void attempt(Input input) {
  static const test_support::TemporaryFolder folder;
  static const std::string files[] = {"components.json", "pcs.json", "pcs.csv", "reports.json"};
  for (const std::string& file : files) std::filesystem::remove(folder.path() / file);

  const std::string& file = files[input.choice(std::size(files))];
  for (const std::string& other : files) {
    // One form of the register of PCs; the other documents hold nothing.
    if (other != file && other != "pcs.csv" && !(other == "pcs.json" && file == "pcs.csv")) {
      folder.write(other, "[]");
    }
  }
  folder.write(file, input.rest());
  try {
    for (const auto& records : cli::read_folder(folder.path())) {
      for (const auto& record : records) {
        require(!cli::identity_of(record.row).empty(), "a record that was read has a key");
      }
    }
  } catch (const cli::Failure& failure) {
    require(std::string_view(failure.what()).find(file) != std::string_view::npos,
            "a message names the file");
  }
}

}  // namespace tarnwick::fuzz
