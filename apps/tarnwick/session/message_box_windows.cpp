#include "apps/tarnwick/session/message_box.h"
#include "platform/windows/desktop_message_box.h"

namespace tarnwick::cli {
namespace {

struct DesktopOrCancel {
  platform::UnattendedMessageBox cancel{platform::WhenLocked{}, tell};
  platform::DesktopMessageBox desktop{cancel};
};

}  // namespace

// The system's message box knows no end of its patience.
SharedBox make_desktop_box(std::chrono::seconds) {
  const auto both = std::make_shared<DesktopOrCancel>();
  return {both, &both->desktop};
}

}  // namespace tarnwick::cli
