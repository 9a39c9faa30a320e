#include "records/wait_dialog.h"

#include <utility>

namespace tarnwick {

WaitDialog::WaitDialog(std::function<void()> layout_changed)
    : layout_changed_(std::move(layout_changed)) {}

void WaitDialog::set_show_cancel(bool value) {
  show_cancel_ = value;
  apply_layout();
}

std::int32_t WaitDialog::height() const {
  return show_cancel_ ? kHeightWithCancel : kHeightWithoutCancel;
}

void WaitDialog::activate() {
  loaded_ = true;
  cancelled_ = false;
  apply_layout();
}

void WaitDialog::click_cancel() {
  cancelled_ = true;
  unload();
}

void WaitDialog::close_box() {
  cancelled_ = true;
  unload();
}

void WaitDialog::unload() { loaded_ = false; }

void WaitDialog::apply_layout() {
  if (layout_changed_) layout_changed_();
}

}  // namespace tarnwick
