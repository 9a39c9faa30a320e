#pragma once

#include <utility>

#include "state/shared_state.h"

namespace tarnwick {

/// Records the exception that is being handled as an error of `procedure`, and notes its cause. For
/// catch blocks only.
void handle_error(SharedState& state, const Procedure& procedure, TextView extra_lines = {});

/// Notes the cause of the exception that is being handled, without an account. For catch blocks
/// only.
void note_cause(SharedState& state);
/// The same for an exception out of a commit, or out of a statement that commits by itself: where
/// the connection was lost, nobody knows the outcome.
void note_cause_of_commit(SharedState& state);

/// Stores `message` as the pending message and raises it as error -2147221504.
[[noreturn]] void raise_message(SharedState& state, Text message,
                                ado::FailureKind kind = ado::FailureKind::kRefused);

/// Runs `step` where errors are ignored without a trace. Returns whether it went through.
template <class Step>
bool quietly(Step&& step) {
  try {
    std::forward<Step>(step)();
    return true;
  } catch (...) {
    return false;
  }
}

/// The one handler around every procedure that records its errors: runs `body(result)`, with
/// `result` at first `failure`; an error is recorded and ends the body, and `result` keeps the
/// value that it had. `extra_lines()` is part of the account.
template <class Result, class ExtraLines, class Body>
Result guarded(SharedState& state, const Procedure& procedure, Result failure,
               ExtraLines&& extra_lines, Body&& body) {
  const Failures::Call call(state.failures);
  Result result = std::move(failure);
  try {
    std::forward<Body>(body)(result);
  } catch (...) {
    quietly([&] { handle_error(state, procedure, std::forward<ExtraLines>(extra_lines)()); });
  }
  return result;
}

template <class Result, class Body>
Result guarded(SharedState& state, const Procedure& procedure, Result failure, Body&& body) {
  return guarded(
      state, procedure, std::move(failure), [] { return TextView(); }, std::forward<Body>(body));
}

/// The handler of the procedures whose errors leave no account: runs `body`, and returns whether it
/// went through. The cause of an error is noted.
template <class Body>
bool succeeds(SharedState& state, Body&& body) {
  const Failures::Call call(state.failures);
  try {
    std::forward<Body>(body)();
    return true;
  } catch (...) {
    note_cause(state);
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
