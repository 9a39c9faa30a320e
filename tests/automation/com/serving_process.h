#pragma once

#include <cstddef>

#include "platform/windows/api.h"

namespace tarnwick::test_support {

/// The process that serves this user's clients, and what it takes up as the system counts it. There
/// has to be one.
class ServingProcess {
 public:
  ServingProcess();
  ~ServingProcess() { CloseHandle(process_); }
  ServingProcess(const ServingProcess&) = delete;
  ServingProcess& operator=(const ServingProcess&) = delete;

  [[nodiscard]] bool runs() const { return WaitForSingleObject(process_, 0) == WAIT_TIMEOUT; }
  [[nodiscard]] std::size_t memory() const;  // bytes of its own
  [[nodiscard]] std::size_t handles() const;
  [[nodiscard]] std::size_t threads() const;

 private:
  DWORD id_ = 0;
  HANDLE process_ = nullptr;
};

}  // namespace tarnwick::test_support
