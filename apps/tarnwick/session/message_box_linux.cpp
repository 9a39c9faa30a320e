#include "apps/common/desktop_program.h"
#include "apps/tarnwick/session/message_box.h"
#include "platform/linux/desktop_message_box.h"

namespace tarnwick::cli {
namespace {

struct DesktopOrCancel {
  explicit DesktopOrCancel(std::chrono::seconds patience)
      : desktop(apps::desktop_program(), patience, cancel, tell) {}

  platform::UnattendedMessageBox cancel{platform::WhenLocked{}, tell};
  platform::DesktopMessageBox desktop;
};

}  // namespace

SharedBox make_desktop_box(std::chrono::seconds patience) {
  const auto both = std::make_shared<DesktopOrCancel>(patience);
  return {both, &both->desktop};
}

}  // namespace tarnwick::cli
