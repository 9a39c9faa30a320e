#include "apps/tarnwick-server/service_manager.h"

#include <systemd/sd-daemon.h>

#include <cinttypes>

#include "automation/dbus/error.h"

namespace tarnwick::server_app {

ServiceManager::ServiceManager(sd_event* event) {
  automation::dbus::check(sd_event_set_watchdog(event, 1), "answering the watchdog");
  if (sd_watchdog_enabled(0, &watchdog_) <= 0) watchdog_ = 0;
}

void ServiceManager::ready() const { sd_notify(0, "READY=1\nSTATUS=Serving"); }

void ServiceManager::stopping() const { sd_notify(0, "STOPPING=1\nSTATUS=Ending"); }

ServiceManager::Wait::Wait(const ServiceManager& manager, std::chrono::seconds patience)
    : manager_(manager) {
  sd_notify(0, "STATUS=Waiting for somebody's answer to a question");
  if (manager_.watchdog_ == 0) return;
  const auto added = std::chrono::duration_cast<std::chrono::microseconds>(patience).count();
  sd_notifyf(0, "WATCHDOG_USEC=%" PRIu64, manager_.watchdog_ + static_cast<std::uint64_t>(added));
}

ServiceManager::Wait::~Wait() {
  sd_notify(0, "STATUS=Serving");
  // Which starts its time anew, too.
  if (manager_.watchdog_ != 0) sd_notifyf(0, "WATCHDOG_USEC=%" PRIu64, manager_.watchdog_);
}

platform::Answer WatchedMessageBox::retry_or_cancel(TextView text, TextView title,
                                                    std::uint32_t retried) {
  const ServiceManager::Wait wait(manager_, patience_);
  return box_.retry_or_cancel(text, title, retried);
}

void WatchedMessageBox::inform(TextView text, TextView title) {
  const ServiceManager::Wait wait(manager_, patience_);
  box_.inform(text, title);
}

}  // namespace tarnwick::server_app
