#pragma once

#include <filesystem>

#include "ado/connection.h"

namespace tarnwick::cli {

struct SampleCounts {
  std::size_t components = 0;
  std::size_t pcs = 0;
  std::size_t reports = 0;
};

/// Inserts the sample data that lie in `folder` (its README tells their form) into the tables that
/// `connection` is open on: all of them, or none. Throws Failure when the files cannot be read,
/// Error when the database refuses them.
SampleCounts insert_samples(std::shared_ptr<ado::Connection> connection,
                            const std::filesystem::path& folder);

/// Where the samples of this installation lie: beside the program, or in the tree that it was built
/// from. Throws Failure when they are in neither place.
[[nodiscard]] std::filesystem::path samples_folder();

}  // namespace tarnwick::cli
