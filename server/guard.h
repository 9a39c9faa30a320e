#pragma once

#include <utility>

#include "server/shared_state.h"

namespace tarnwick {

/// Records the exception that is being handled as an error of `procedure`. For catch blocks only.
void handle_error(SharedState& state, const Procedure& procedure, TextView extra_lines = {});

/// Stores `message` as the pending message and raises it as error -2147221504.
[[noreturn]] void raise_message(SharedState& state, Text message);

/// The one handler around every procedure that records its errors: runs `body(result)`, with
/// `result` at first `failure`; an error is recorded and ends the body, and `result` keeps the
/// value that it had.
template <class Result, class Body>
Result guarded(SharedState& state, const Procedure& procedure, Result failure, Body&& body) {
  Result result = std::move(failure);
  try {
    std::forward<Body>(body)(result);
  } catch (...) {
    handle_error(state, procedure);
  }
  return result;
}

/// Runs `step` where errors are ignored without a record. Returns whether it went through.
template <class Step>
bool quietly(Step&& step) {
  try {
    std::forward<Step>(step)();
    return true;
  } catch (...) {
    return false;
  }
}

/// Runs `make` under the step text `text`, which becomes the beginning of the account if it fails.
/// A step that succeeds empties the message, older messages included.
template <class Make>
auto make_under_step_text(SharedState& state, TextView text, Make&& make) {
  state.errors.set_message(Text(text));
  auto made = std::forward<Make>(make)();
  state.errors.set_message({});
  return made;
}

}  // namespace tarnwick
