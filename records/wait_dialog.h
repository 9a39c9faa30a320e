#pragma once

#include <cstdint>
#include <functional>

#include "runtime/text.h"

namespace tarnwick {

/// The lock-wait dialog (frmWait) without its window: what a window of any desktop has to show, and
/// what the user's doings mean. Heights are in twips (1440 to the inch).
class WaitDialog {
 public:
  static constexpr TextView kCaption = u"Locked!";
  static constexpr TextView kLabel = u"A record lock has been encountered, Please wait...";
  /// The ampersand marks the mnemonic.
  static constexpr TextView kCancelCaption = u"&Cancel";
  static constexpr std::int32_t kHeightWithCancel = 1665;
  static constexpr std::int32_t kHeightWithoutCancel = 1215;

  /// `layout_changed` is called whenever the window has to apply the layout; may be empty.
  explicit WaitDialog(std::function<void()> layout_changed = {});

  [[nodiscard]] bool show_cancel() const { return show_cancel_; }
  void set_show_cancel(bool value);
  [[nodiscard]] bool cancelled() const { return cancelled_; }

  [[nodiscard]] std::int32_t height() const;
  /// Whether cmdCancel is visible and enabled: always both or none.
  [[nodiscard]] bool cancel_available() const { return show_cancel_; }
  [[nodiscard]] bool loaded() const { return loaded_; }

  /// The window was activated: forgets an earlier cancellation.
  void activate();
  void click_cancel();
  /// The user closed the window by its close box.
  void close_box();
  /// Code closes the window: no cancellation.
  void unload();

 private:
  void apply_layout();

  std::function<void()> layout_changed_;
  bool show_cancel_ = false;
  bool cancelled_ = false;
  bool loaded_ = false;
};

}  // namespace tarnwick
