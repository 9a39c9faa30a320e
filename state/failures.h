#pragma once

#include <cstdint>

#include "ado/error.h"

namespace tarnwick {

/// What is known of a failure beyond its account: for programs, which cannot read sentences. Holds
/// no secret.
struct FailureCause {
  ado::FailureKind kind = ado::FailureKind::kNone;
  std::int32_t number = 0;
  std::int32_t native = 0;  ///< the engine's own number; 0 where it has none
  Text text;                ///< the engine's own text, else the error's description
  /// The connection went while a commit was under way: nobody knows whether it was carried out.
  bool outcome_unknown = false;
};

/// What the exception that is being handled stands for. For catch blocks only.
[[nodiscard]] FailureCause current_cause();

/// The cause of the last failure of the object model. Within one public call the first cause
/// counts: what fails afterwards mostly fails because of it.
class Failures {
 public:
  /// One procedure of the object model. The outermost one that is alive makes the public call that
  /// all others belong to.
  class Call {
   public:
    explicit Call(Failures& failures) : failures_(failures) {
      if (failures_.depth_++ == 0) failures_.noted_ = false;
    }
    ~Call() { --failures_.depth_; }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

   private:
    Failures& failures_;
  };

  /// Becomes the last cause, unless the public call has one already.
  void note(FailureCause cause);

  /// Of kind kNone before the first failure, and once cleared.
  [[nodiscard]] const FailureCause& last() const { return last_; }
  void clear() { last_ = {}; }

 private:
  FailureCause last_;
  int depth_ = 0;
  bool noted_ = false;
};

}  // namespace tarnwick
