#pragma once

#include <stdexcept>
#include <string>

#include "runtime/text.h"

namespace tarnwick::cli {

/// What the program exits with.
enum class ExitCode : int {
  kDone = 0,
  kFailed = 1,
  kUsage = 2,    // the command line itself is wrong
  kChanged = 3,  // the record was changed by someone else since it was read
  kLocked = 4,   // another process has the record, and the wait was given up
  kMissing = 5,  // there is no such record
  kUnknown = 6,  // the connection was lost while it was written: nobody knows whether it was
};

/// Ends a command. The text, and below it the account of the object model if there is one, go to
/// standard error.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& text, TextView account = {})
      : std::runtime_error(text), code_(code), account_(account) {}

  [[nodiscard]] ExitCode code() const { return code_; }
  [[nodiscard]] const Text& account() const { return account_; }

 private:
  ExitCode code_;
  Text account_;
};

}  // namespace tarnwick::cli
