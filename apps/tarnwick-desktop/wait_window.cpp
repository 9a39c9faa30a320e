#include "apps/tarnwick-desktop/wait_window.h"

#include <FL/Fl.H>

#include "runtime/text.h"

namespace tarnwick::desktop {
namespace {

constexpr int kTwipsPerInch = 1440;
constexpr int kWidthInTwips = 6000;
constexpr int kTextHeight = 40;
constexpr int kMargin = 12;
constexpr int kButtonWidth = 88;
constexpr int kButtonHeight = 26;

int pixels(int twips) {
  // Desktops count 96 pixels to the inch and scale whole windows.
  constexpr int kPixelsPerInch = 96;
  return twips * kPixelsPerInch / kTwipsPerInch;
}

}  // namespace

WaitWindow::WaitWindow()
    : dialog_([this] { apply_layout(); }),
      caption_(to_utf8(WaitDialog::kCaption)),
      label_(to_utf8(WaitDialog::kLabel)),
      cancel_caption_(to_utf8(WaitDialog::kCancelCaption)),
      window_(pixels(kWidthInTwips), pixels(WaitDialog::kHeightWithoutCancel), caption_.c_str()),
      text_(kMargin, kMargin, window_.w() - 2 * kMargin, kTextHeight, label_.c_str()),
      cancel_((window_.w() - kButtonWidth) / 2,
              pixels(WaitDialog::kHeightWithCancel) - kMargin - kButtonHeight, kButtonWidth,
              kButtonHeight, cancel_caption_.c_str()) {
  window_.end();
  text_.align(FL_ALIGN_INSIDE | FL_ALIGN_WRAP);
  cancel_.callback(
      [](Fl_Widget*, void* userdata) {
        auto& self = *static_cast<WaitWindow*>(userdata);
        self.dialog_.click_cancel();
        self.window_.hide();
      },
      this);
  window_.callback(
      [](Fl_Widget*, void* userdata) {
        // Escape arrives here too; it means nothing to this window.
        if (Fl::event() == FL_SHORTCUT) return;
        auto& self = *static_cast<WaitWindow*>(userdata);
        self.dialog_.close_box();
        self.window_.hide();
      },
      this);
}

void WaitWindow::show() {
  window_.position((Fl::w() - window_.w()) / 2, (Fl::h() - window_.h()) / 2);
  dialog_.activate();
  window_.show();
}

void WaitWindow::unload() {
  dialog_.unload();
  window_.hide();
}

void WaitWindow::apply_layout() {
  window_.size(window_.w(), pixels(dialog_.height()));
  if (dialog_.cancel_available()) {
    cancel_.activate();
    cancel_.show();
  } else {
    cancel_.deactivate();
    cancel_.hide();
  }
  window_.redraw();
}

}  // namespace tarnwick::desktop
