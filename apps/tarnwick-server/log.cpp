#include "apps/tarnwick-server/log.h"

// The place in this file is the same for all lines.
#define SD_JOURNAL_SUPPRESS_LOCATION

#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>
#include <sys/stat.h>
#include <sys/syslog.h>
#include <sys/uio.h>
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace tarnwick::server_app {
namespace {

constexpr std::string_view kProgram = "tarnwick-server";

struct Level {
  spdlog::level::level_enum of_text;
  int of_journal;
};

Level level_of(Severity severity) {
  switch (severity) {
    case Severity::kInfo:
      return {spdlog::level::info, LOG_INFO};
    case Severity::kWarning:
      return {spdlog::level::warn, LOG_WARNING};
    case Severity::kCritical:
      return {spdlog::level::critical, LOG_CRIT};
  }
  return {spdlog::level::critical, LOG_CRIT};
}

// Somebody may have led standard error elsewhere since systemd set the variable.
bool standard_error_is_the_journal() {
  const char* told = std::getenv("JOURNAL_STREAM");
  struct stat file {};
  if (told == nullptr || fstat(STDERR_FILENO, &file) != 0) return false;
  return fmt::format("{}:{}", file.st_dev, file.st_ino) == told;
}

bool send_to_journal(const std::vector<std::string>& lines) {
  std::vector<iovec> parts;
  for (const std::string& line : lines) {
    parts.push_back({const_cast<char*>(line.data()), line.size()});
  }
  return sd_journal_sendv(parts.data(), static_cast<int>(parts.size())) == 0;
}

}  // namespace

Log::Log() : journal_(standard_error_is_the_journal()) {
  spdlog::set_default_logger(spdlog::stderr_logger_st(std::string(kProgram)));
}

void Log::write(Severity severity, std::string_view event, std::string_view text,
                std::initializer_list<LogField> fields) const {
  const Level level = level_of(severity);
  if (journal_) {
    std::vector<std::string> lines{
        fmt::format("MESSAGE={}", text), fmt::format("PRIORITY={}", level.of_journal),
        fmt::format("SYSLOG_IDENTIFIER={}", kProgram), fmt::format("TARNWICK_EVENT={}", event)};
    for (const LogField& field : fields) {
      lines.push_back(fmt::format("{}={}", field.name, field.value));
    }
    if (send_to_journal(lines)) return;
  }
  spdlog::log(level.of_text, "{}", text);
}

}  // namespace tarnwick::server_app
