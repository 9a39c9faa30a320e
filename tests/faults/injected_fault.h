#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "tests/support/failing_allocation.h"

namespace tarnwick::test_support {

/// What can be made to fail.
enum class FaultKind : std::uint8_t {
  kAllocation,    // of ours
  kSqliteMemory,  // SQLite's own
  kSqliteCall,    // a function of SQLite's interface that has a result code
  kShortWrite,    // a call that writes to a file, and writes half of it
  kSystemCall,    // see SystemCall; neither giving a lock back nor sleeping, which cannot fail
};

/// A call that fails: the `nth` of its kind from now, counted from 1, unless this ends before. One
/// at a time, and only for one thread.
class InjectedFault final {
 public:
  /// `error` is SQLite's code or the system's number; memory has none.
  InjectedFault(FaultKind kind, std::size_t nth, int error);
  ~InjectedFault();
  InjectedFault(const InjectedFault&) = delete;
  InjectedFault& operator=(const InjectedFault&) = delete;

  /// Whether the call has failed already.
  [[nodiscard]] bool struck() const;

 private:
  std::optional<FailingAllocation> allocation_;
};

}  // namespace tarnwick::test_support
