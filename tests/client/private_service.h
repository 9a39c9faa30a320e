#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "automation/dbus/handles.h"
#include "tests/support/temporary_folder.h"

namespace tarnwick::test_support {

/// A service on a bus of its own, which both end with it.
class PrivateService {
 public:
  /// Throws std::runtime_error when they do not come up.
  PrivateService();
  ~PrivateService();
  PrivateService(const PrivateService&) = delete;
  PrivateService& operator=(const PrivateService&) = delete;

  [[nodiscard]] sd_bus* bus() const { return bus_.get(); }
  /// kill -9, and it is gone when this returns.
  void kill_service();

 private:
  static pid_t start(const std::vector<std::string>& command);
  static void end(pid_t& process, int signal);
  [[nodiscard]] bool has_service() const;

  TemporaryFolder folder_;
  pid_t daemon_ = -1;
  pid_t service_ = -1;
  automation::dbus::BusHandle bus_;
};

}  // namespace tarnwick::test_support
