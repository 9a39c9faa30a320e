#pragma once

#include "automation/com/process_life.h"
#include "automation/locked_record.h"

namespace tarnwick::automation::com {

/// The process of the client whose call locked a record: a process of the server has one lock at
/// most. Its end is noticed where the system tells whose call it is and lets this process wait for
/// it; elsewhere the row is held until COM gives the client's objects up.
class LockHolder {
 public:
  explicit LockHolder(ProcessLife& life) : life_(life) {}
  ~LockHolder() { forget(); }
  LockHolder(const LockHolder&) = delete;
  LockHolder& operator=(const LockHolder&) = delete;

  /// During a client's call, which has locked `record`. The life is told when the client ends.
  void set(const Object& record) noexcept;
  /// Releases the row as if the client had done so, unless it lives.
  void release_if_ended();

 private:
  static void CALLBACK on_end(void* holder, BOOLEAN);
  void forget() noexcept;

  ProcessLife& life_;
  LockedRecord record_;
  HANDLE process_ = nullptr;  // as long as it is open, no other process gets the same number
  HANDLE wait_ = nullptr;
};

}  // namespace tarnwick::automation::com
