#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace tarnwick::client {

/// A call that did not come to a result. What the object model answers is a result, also where it
/// could not do what was asked.
class CallError : public std::runtime_error {
 public:
  enum class Reason {
    kRefused,      // the member failed, or the call as such is wrong
    kNotCarried,   // the transport cannot carry one of the values
    kNotAnswered,  // whoever carries out calls ended meanwhile: nobody knows whether it was done
    kNotOffered,   // this transport has no such thing
  };

  /// `number`: of the run-time error, 0 where it is none.
  CallError(Reason reason, const std::string& text, std::int32_t number = 0)
      : std::runtime_error(text), reason_(reason), number_(number) {}

  [[nodiscard]] Reason reason() const { return reason_; }
  [[nodiscard]] std::int32_t number() const { return number_; }

 private:
  Reason reason_;
  std::int32_t number_;
};

}  // namespace tarnwick::client
