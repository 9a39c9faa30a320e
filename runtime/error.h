#pragma once

#include <cstdint>
#include <exception>
#include <string>

#include "runtime/text.h"

namespace tarnwick {

/// Numbers of run-time errors as automation clients know them; the public table of trappable
/// errors of the automation run-time gives number and description.
enum class ErrorNumber : std::int32_t {
  kInvalidProcedureCall = 5,
  kOverflow = 6,
  kOutOfMemory = 7,
  kSubscriptOutOfRange = 9,
  kTypeMismatch = 13,
  kInternalError = 51,
  kObjectNotSet = 91,
  kInvalidUseOfNull = 94,
  kKeyAlreadyAssociated = 457,
  kUserDefined = static_cast<std::int32_t>(0x80040000u),  ///< first user-defined error
};

/// The description that goes with `number`, or an empty text for a number without one.
[[nodiscard]] TextView description_of(ErrorNumber number);

/// An error inside the system: what the handlers turn into an account. Never leaves a public
/// method, unless the method says so.
class Error : public std::exception {
 public:
  /// The error `number` with its standard description.
  explicit Error(ErrorNumber number);
  Error(std::int32_t number, Text description);

  [[nodiscard]] std::int32_t number() const noexcept { return number_; }
  [[nodiscard]] const Text& description() const noexcept { return description_; }
  /// The description as UTF-8, for logs and terminals.
  [[nodiscard]] const char* what() const noexcept override { return utf8_.c_str(); }

 private:
  std::int32_t number_;
  Text description_;
  std::string utf8_;
};

}  // namespace tarnwick
