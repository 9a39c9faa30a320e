#pragma once

#include <cstdint>

#include "runtime/error.h"
#include "runtime/text.h"

namespace tarnwick {

/// The names under which a procedure stands in the accounts of errors.
struct Procedure {
  TextView component;
  TextView name;
};

/// The one account of errors that all objects and all clients of a process share. Only grows, until
/// a step text is cleared; the number is never reset.
class ErrorState {
 public:
  [[nodiscard]] const Text& message() const { return message_; }
  [[nodiscard]] std::int32_t number() const { return number_; }

  /// Replaces the message: a step text before a step that may fail, a message before it is raised,
  /// or the empty text after a step that succeeded.
  void set_message(Text message) { message_ = std::move(message); }

  /// Puts `line` and CR LF in front of the message.
  void prefix(TextView line);

  /// Puts CR LF and `line` behind the message.
  void append_line(TextView line);

  /// Appends the account of `error` in `procedure`. `extra_lines`, each ending with CR LF, stand
  /// between the procedure's line and the number. The first number sticks.
  void record(const Procedure& procedure, const Error& error, TextView extra_lines = {});

 private:
  Text message_;
  std::int32_t number_ = 0;
};

}  // namespace tarnwick
