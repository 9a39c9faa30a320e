#include "automation/com/lock_holder.h"

#include <rpc.h>
#include <rpcdcep.h>

#include <utility>

namespace tarnwick::automation::com {
namespace {

/// The process that makes the call which this thread carries out; null where that cannot be told,
/// or where it is none of this machine or none that may be waited for.
HANDLE open_calling_process() {
  unsigned long id = 0;
  if (I_RpcBindingInqLocalClientPID(nullptr, &id) != RPC_S_OK) return nullptr;
  return OpenProcess(SYNCHRONIZE, FALSE, id);
}

}  // namespace

void LockHolder::set(const Object& record) noexcept {
  forget();
  process_ = open_calling_process();
  if (process_ == nullptr) return;
  record_ = LockedRecord(record);
  RegisterWaitForSingleObject(&wait_, process_, &LockHolder::on_end, this, INFINITE,
                              WT_EXECUTEONLYONCE);
}

void LockHolder::release_if_ended() {
  if (process_ == nullptr || WaitForSingleObject(process_, 0) != WAIT_OBJECT_0) return;
  const LockedRecord record = record_;
  forget();
  record.release();
}

// Only posts a message, so that whoever ends the wait may wait for this whatever he holds.
void CALLBACK LockHolder::on_end(void* holder, BOOLEAN) {
  static_cast<LockHolder*>(holder)->life_.tell_client_ended();
}

void LockHolder::forget() noexcept {
  if (wait_ != nullptr) UnregisterWaitEx(std::exchange(wait_, nullptr), INVALID_HANDLE_VALUE);
  if (process_ != nullptr) CloseHandle(std::exchange(process_, nullptr));
  record_ = {};
}

}  // namespace tarnwick::automation::com
