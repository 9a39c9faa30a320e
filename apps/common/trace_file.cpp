#include "apps/common/trace_file.h"

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "platform/file_system.h"

namespace tarnwick::apps {

TraceFile::TraceFile(const std::filesystem::path& file) : stream_(file, std::ios::app) {
  if (!stream_) {
    throw std::system_error(errno, std::generic_category(),
                            "cannot write the trace to '" + platform::path_to_utf8(file) + "'");
  }
}

void TraceFile::line(TextView text) {
  Text one_line(text);
  std::ranges::replace(one_line, u'\r', u'\u240D');
  std::ranges::replace(one_line, u'\n', u'\u240A');
  stream_ << to_display_utf8(one_line) << '\n' << std::flush;
}

}  // namespace tarnwick::apps
