#pragma once

#include <systemd/sd-event.h>

#include <chrono>
#include <cstdint>

#include "platform/message_box.h"

namespace tarnwick::server_app {

/// What a service manager is told of the process; without one nothing is.
class ServiceManager {
 public:
  /// Lets `event` tell that it still runs, as often as the manager wants to hear it.
  explicit ServiceManager(sd_event* event);

  void ready() const;
  void stopping() const;

  /// While this lives, the loop waits for somebody's answer, which may take as long as `patience`:
  /// no hang as long as that.
  class Wait {
   public:
    Wait(const ServiceManager& manager, std::chrono::seconds patience);
    ~Wait();
    Wait(const Wait&) = delete;
    Wait& operator=(const Wait&) = delete;

   private:
    const ServiceManager& manager_;
  };

 private:
  std::uint64_t watchdog_ = 0;  // microseconds; 0: nobody watches
};

/// Puts questions to another box, and tells the service manager that an answer is waited for.
class WatchedMessageBox final : public platform::MessageBox {
 public:
  WatchedMessageBox(const ServiceManager& manager, std::chrono::seconds patience,
                    platform::MessageBox& box)
      : manager_(manager), patience_(patience), box_(box) {}

  [[nodiscard]] platform::Answer retry_or_cancel(TextView text, TextView title,
                                                 std::uint32_t retried) override;
  void inform(TextView text, TextView title) override;

 private:
  const ServiceManager& manager_;
  std::chrono::seconds patience_;
  platform::MessageBox& box_;
};

}  // namespace tarnwick::server_app
