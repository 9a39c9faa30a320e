#include "apps/tarnwick/maintenance/cause.h"

namespace tarnwick::cli {
namespace {

ExitCode code_of(const FailureCause& cause) {
  if (cause.outcome_unknown) return ExitCode::kUnknown;
  if (cause.kind == ado::FailureKind::kLockTimeout) return ExitCode::kLocked;
  if (cause.kind == ado::FailureKind::kChanged) return ExitCode::kChanged;
  return ExitCode::kFailed;
}

}  // namespace

Failure failure_of(const FailureCause& cause, const std::string& sentence, TextView account) {
  const bool told = cause.text.empty() || account.find(cause.text) != TextView::npos;
  const std::string reason = told ? "." : ": " + to_display_utf8(cause.text);
  return {code_of(cause), sentence + reason, account};
}

Failure failure_of(const client::CallError& error) {
  const bool carried = error.reason() != client::CallError::Reason::kNotCarried;
  return {
      ExitCode::kFailed,
      error.what() + std::string(carried ? "" : " With --in-process the service is not needed.")};
}

}  // namespace tarnwick::cli
