#pragma once

#include <FL/Fl_Box.H>
#include <FL/Fl_Button.H>
#include <FL/Fl_Window.H>

#include <string>

#include "records/wait_dialog.h"

namespace tarnwick::desktop {

/// The lock-wait dialog as a window: shows what the model says and tells it what the user does.
/// Does not block: the owner runs the event loop.
class WaitWindow {
 public:
  WaitWindow();
  WaitWindow(const WaitWindow&) = delete;
  WaitWindow& operator=(const WaitWindow&) = delete;

  [[nodiscard]] const WaitDialog& dialog() const { return dialog_; }

  void show();
  void set_show_cancel(bool value) { dialog_.set_show_cancel(value); }
  /// Closes the window without a cancellation.
  void unload();

 private:
  void apply_layout();

  WaitDialog dialog_;
  std::string caption_;
  std::string label_;
  std::string cancel_caption_;
  Fl_Window window_;
  Fl_Box text_;
  Fl_Button cancel_;
};

}  // namespace tarnwick::desktop
