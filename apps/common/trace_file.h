#pragma once

#include <filesystem>
#include <fstream>

#include "ado/trace.h"

namespace tarnwick::apps {

/// Appends the trace to a file (UTF-8), each line at once, so that it can be watched and survives
/// whatever happens next. Carriage returns and line feeds inside a statement are written as the
/// symbols U+240D and U+240A: one line stays one line, and all other characters are as they were.
class TraceFile final : public ado::Trace {
 public:
  /// Throws std::system_error when the file cannot be written.
  explicit TraceFile(const std::filesystem::path& file);
  void line(TextView text) override;

 private:
  std::ofstream stream_;
};

}  // namespace tarnwick::apps
