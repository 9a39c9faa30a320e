#pragma once

#include <memory>

#include "apps/tarnwick/options.h"
#include "apps/tarnwick/service/child_process.h"
#include "apps/tarnwick/service/scratch_folder.h"
#include "automation/dbus/handles.h"

namespace tarnwick::cli {

/// A connection to a bus on which the service runs or can be started by its name.
class ServiceBus final {
 public:
  /// The bus that `options` name, or that of the session. If nothing there starts the service, it
  /// is started by this process and left to end by itself. Null where there is no session and no
  /// bus was named. Throws Failure.
  static std::unique_ptr<ServiceBus> find(const Options& options);

  /// A bus of this process's own. It ends with this process, and so does the service on it. Throws
  /// Failure.
  static std::unique_ptr<ServiceBus> make(const Options& options);

  [[nodiscard]] sd_bus* get() const { return bus_.get(); }

 private:
  ServiceBus() = default;
  void start_service_if_none_is_known(const Options& options);
  void wait_for_service() const;
  [[nodiscard]] bool has_service() const;
  void open_own(const Options& options);

  // In this order: a bus ends after the connection to it.
  std::unique_ptr<ScratchFolder> scratch_;
  std::unique_ptr<ChildProcess> daemon_;
  std::unique_ptr<ChildProcess> service_;
  automation::dbus::BusHandle bus_;
};

}  // namespace tarnwick::cli
