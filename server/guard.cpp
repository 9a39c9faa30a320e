#include "server/guard.h"

#include <exception>
#include <new>

namespace tarnwick {
namespace {

// In the development environment each caught error is shown, and the debugger stops there.
void show_to_developer(SharedState& state) {
  if (!state.in_development_environment) return;
  state.host.message_box().inform(state.errors.message(), u"Tarnwick");
  state.host.stop_in_debugger();
}

// Throws what recording throws.
void record_error(SharedState& state, const Procedure& procedure, TextView extra_lines) {
  try {
    throw;
  } catch (const Error& error) {
    state.errors.record(procedure, error, extra_lines);
  } catch (const std::bad_alloc&) {
    state.errors.record(procedure, Error(ErrorNumber::kOutOfMemory), extra_lines);
  } catch (const std::exception& exception) {
    const Error error(static_cast<std::int32_t>(ErrorNumber::kInternalError),
                      from_stored_utf8(exception.what()));
    state.errors.record(procedure, error, extra_lines);
  }
}

}  // namespace

void handle_error(SharedState& state, const Procedure& procedure, TextView extra_lines) {
  // An account that cannot be kept for want of memory is lost; the procedure fails all the same.
  quietly([&] {
    record_error(state, procedure, extra_lines);
    show_to_developer(state);
  });
}

void raise_message(SharedState& state, Text message) {
  Error error(static_cast<std::int32_t>(ErrorNumber::kUserDefined), message);
  state.errors.set_message(std::move(message));
  throw error;
}

}  // namespace tarnwick
