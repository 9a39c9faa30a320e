#include "apps/tarnwick/files/report_files.h"

#include <fmt/format.h>

#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/maintenance/cause.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/options.h"

namespace tarnwick::cli {
namespace {

// The name goes into a statement between quotes, as it stands.
Text as_in_statement(const Text& name) {
  Text doubled;
  for (const char16_t c : name) doubled.append(c == u'\'' ? 2 : 1, c);
  return doubled;
}

}  // namespace

bool extract_report_file(const Session& session, const Row& report,
                         const std::filesystem::path& file) {
  const auto object = Proxy<Report>::create(session.transport());
  object.set<"Name">(as_in_statement(report.get<Report, "Name">()));
  session.clear_last_cause();
  if (object.call<"ExtractReport">(file_argument(file))) return true;
  const FailureCause cause = session.last_cause();
  if (cause.text == Report::kNoReportFile) return false;
  throw failure_of(cause, fmt::format("The report file of {} cannot be had", describe(report)),
                   session.last_error_msg());
}

std::string ttx_bytes(const Row& report) {
  std::string bytes;
  for (const char16_t c : report.get<Report, "TTX">()) {
    if (c > 0xFF) {
      throw Failure(ExitCode::kFailed,
                    fmt::format("The field definitions of {} hold a character that is no byte.",
                                describe(report)));
    }
    bytes += static_cast<char>(c);
  }
  return bytes;
}

}  // namespace tarnwick::cli
