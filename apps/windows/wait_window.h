#pragma once

#include "platform/windows/api.h"
#include "records/wait_dialog.h"

namespace tarnwick::apps {

/// The lock-wait dialog (frmWait) as a small modeless window of the desktop. What the user does to
/// it shows in cancelled() once the thread that made it takes messages.
class WaitWindow final {
 public:
  WaitWindow();
  ~WaitWindow();
  WaitWindow(const WaitWindow&) = delete;
  WaitWindow& operator=(const WaitWindow&) = delete;

  /// Makes the window, if there is none, shows it, and forgets an earlier cancellation. Does not
  /// wait. Where there is no screen nothing is shown.
  void show();
  /// Takes the window away: no cancellation.
  void unload();

  [[nodiscard]] bool show_cancel() const { return dialog_.show_cancel(); }
  void set_show_cancel(bool value) { dialog_.set_show_cancel(value); }
  [[nodiscard]] bool cancelled() const { return dialog_.cancelled(); }

  /// Null while it is not loaded.
  [[nodiscard]] HWND window() const { return window_; }

 private:
  static LRESULT CALLBACK on_message(HWND window, UINT message, WPARAM w, LPARAM l);
  void lay_out();

  HWND window_ = nullptr;
  HWND button_ = nullptr;
  WaitDialog dialog_;
};

}  // namespace tarnwick::apps
