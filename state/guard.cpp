#include "state/guard.h"

namespace tarnwick {
namespace {

// In the development environment each caught error is shown, and the debugger stops there.
void show_to_developer(SharedState& state) {
  if (!state.in_development_environment) return;
  state.host.message_box().inform(state.errors.message(), u"Tarnwick");
  state.host.stop_in_debugger();
}

}  // namespace

void handle_error(SharedState& state, const Procedure& procedure, TextView extra_lines) {
  // An account that cannot be kept for want of memory is lost; the procedure fails all the same.
  quietly([&] {
    FailureCause cause = current_cause();
    const Error error(cause.number, cause.text);
    state.failures.note(std::move(cause));
    state.errors.record(procedure, error, extra_lines);
    show_to_developer(state);
  });
}

void note_cause(SharedState& state) {
  quietly([&] { state.failures.note(current_cause()); });
}

void note_cause_of_commit(SharedState& state) {
  quietly([&] {
    FailureCause cause = current_cause();
    cause.outcome_unknown = cause.kind == ado::FailureKind::kConnectionLost;
    state.failures.note(std::move(cause));
  });
}

void raise_message(SharedState& state, Text message, ado::FailureKind kind) {
  Error error(static_cast<std::int32_t>(ErrorNumber::kUserDefined), message);
  state.failures.note({kind, error.number(), 0, message});
  state.errors.set_message(std::move(message));
  throw error;
}

}  // namespace tarnwick
