#include "state/failures.h"

#include <new>
#include <utility>

namespace tarnwick {

using ado::FailureKind;

FailureCause current_cause() {
  try {
    throw;
  } catch (const ado::AdoError& error) {
    return {error.kind(), error.number(), error.native(), error.description()};
  } catch (const Error& error) {
    const bool raised = error.number() == static_cast<std::int32_t>(ErrorNumber::kUserDefined);
    return {raised ? FailureKind::kRefused : FailureKind::kOther, error.number(), 0,
            error.description()};
  } catch (const std::bad_alloc&) {
    const Error error(ErrorNumber::kOutOfMemory);
    return {FailureKind::kOther, error.number(), 0, error.description()};
  } catch (const std::exception& exception) {
    return {FailureKind::kOther, static_cast<std::int32_t>(ErrorNumber::kInternalError), 0,
            from_stored_utf8(exception.what())};
  }
}

void Failures::note(FailureCause cause) {
  if (depth_ > 0 && std::exchange(noted_, true)) return;
  last_ = std::move(cause);
}

}  // namespace tarnwick
