#include "platform/windows/desktop_message_box.h"

#include <thread>

#include "platform/windows/api.h"
#include "platform/windows/wide.h"

namespace tarnwick::platform {
namespace {

/// The button's id, or 0 or less where there is no screen: Windows reports a failure by 0, Wine by
/// -1.
int show(TextView text, TextView title, UINT buttons) {
  const std::wstring wide_text = to_wide(text);
  const std::wstring wide_title = to_wide(title);
  int button = 0;
  std::thread([&] {
    button =
        MessageBoxW(nullptr, wide_text.c_str(), wide_title.c_str(), buttons | MB_SETFOREGROUND);
  }).join();
  return button;
}

}  // namespace

DesktopMessageBox::DesktopMessageBox(MessageBox& without_screen)
    : without_screen_(without_screen) {}

Answer DesktopMessageBox::retry_or_cancel(TextView text, TextView title, std::uint32_t retried) {
  const int button = show(text, title, MB_RETRYCANCEL);
  if (button <= 0) return without_screen_.retry_or_cancel(text, title, retried);
  return button == IDRETRY ? Answer::kRetry : Answer::kCancel;
}

void DesktopMessageBox::inform(TextView text, TextView title) {
  if (show(text, title, MB_OK) <= 0) without_screen_.inform(text, title);
}

}  // namespace tarnwick::platform
