#pragma once

#include <array>
#include <filesystem>

#include "apps/tarnwick/files/record_folder.h"
#include "apps/tarnwick/session/session.h"

namespace tarnwick::cli {

/// Writes all records to the folder, which is made if it is not there; an export that it holds is
/// replaced, its form of the register of PCs kept. The same data make the same bytes. Files appear
/// under their names when all of them are written. Returns how many records there are, in the order
/// of documents(). Throws Failure for a row that cannot be had whole, and where files cannot be
/// written: then the folder is as it was.
std::array<std::size_t, kDocumentCount> export_folder(const Session& session,
                                                      const std::filesystem::path& folder);

}  // namespace tarnwick::cli
