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

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::server_app {
namespace {

using automation::Event;
using automation::EventKind;
using automation::Severity;

constexpr std::string_view kProgram = "tarnwick-server";
constexpr std::string_view kRefusal = "refusal";

struct Level {
  spdlog::level::level_enum of_text;
  int of_journal;
};

Level level_of(Severity severity) {
  switch (severity) {
    case Severity::kInformation:
      return {spdlog::level::info, LOG_INFO};
    case Severity::kWarning:
      return {spdlog::level::warn, LOG_WARNING};
    case Severity::kError:
      break;
  }
  return {spdlog::level::critical, LOG_CRIT};
}

std::string_view name_of(EventKind kind) {
  switch (kind) {
    case EventKind::kStarted:
      return "start";
    case EventKind::kUnanswered:
      return "question";
    case EventKind::kRefused:
    case EventKind::kConnectionLost:
    case EventKind::kOutcomeUnknown:
      return kRefusal;
    case EventKind::kEnded:
    case EventKind::kBroken:
      break;
  }
  return "end";
}

std::vector<std::string> journal_entry(const Event& event, const std::string& text) {
  std::vector<std::string> lines{
      fmt::format("MESSAGE={}", text),
      fmt::format("PRIORITY={}", level_of(severity_of(event.kind)).of_journal),
      fmt::format("SYSLOG_IDENTIFIER={}", kProgram),
      fmt::format("TARNWICK_EVENT={}", name_of(event.kind))};
  if (!event.client.empty()) {
    lines.push_back(fmt::format("TARNWICK_CLIENT={}", to_display_utf8(event.client)));
  }
  if (name_of(event.kind) == kRefusal) {
    const FailureCause& cause = event.cause;
    lines.push_back(fmt::format("TARNWICK_KIND={}", static_cast<std::int32_t>(cause.kind)));
    lines.push_back(fmt::format("TARNWICK_NUMBER={}", cause.number));
    lines.push_back(fmt::format("TARNWICK_NATIVE={}", cause.native));
    lines.push_back(fmt::format("TARNWICK_OUTCOME_UNKNOWN={}", cause.outcome_unknown ? 1 : 0));
  }
  return lines;
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

void Log::write(const Event& event) const {
  const std::string text = to_display_utf8(event.text);
  if (journal_ && send_to_journal(journal_entry(event, text))) return;
  spdlog::log(level_of(severity_of(event.kind)).of_text, "{}", text);
}

}  // namespace tarnwick::server_app
