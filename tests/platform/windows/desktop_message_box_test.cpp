#include "platform/windows/desktop_message_box.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/unattended_message_box.h"
#include "platform/windows/api.h"
#include "platform/windows/wide.h"

namespace tarnwick::platform {
namespace {

TextView kTitle = u"A title of its own";

/// What a user sees of the box.
struct Seen {
  std::wstring text;
  std::vector<int> buttons;
};

HWND wait_for_box() {
  for (int i = 0; i < 300; ++i) {
    const HWND box = FindWindowW(nullptr, to_wide(kTitle).c_str());
    if (box != nullptr && IsWindowVisible(box) != FALSE) return box;
    Sleep(50);
  }
  return nullptr;
}

/// A user who presses the button, and what he saw before.
class User {
 public:
  explicit User(int button) : thread_([this, button] { press(button); }) {}
  Seen seen() {
    thread_.join();
    return seen_;
  }

 private:
  void press(int button) {
    const HWND box = wait_for_box();
    ASSERT_NE(box, nullptr);
    wchar_t text[256]{};
    SendMessageW(GetDlgItem(box, 0xFFFF), WM_GETTEXT, 256, reinterpret_cast<LPARAM>(text));
    seen_.text = text;
    for (const int id : {IDOK, IDCANCEL, IDRETRY}) {
      if (GetDlgItem(box, id) != nullptr) seen_.buttons.push_back(id);
    }
    PostMessageW(GetDlgItem(box, button), BM_CLICK, 0, 0);
  }

  Seen seen_;
  std::thread thread_;
};

class DesktopMessageBoxTest : public ::testing::Test {
 protected:
  int unasked_ = 0;
  UnattendedMessageBox without_screen_{WhenLocked{}, [this](TextView) { ++unasked_; }};
  DesktopMessageBox box_{without_screen_};
};

TEST_F(DesktopMessageBoxTest, AsksRetryOrCancelOnTheScreen) {
  for (const auto& [button, answer] :
       {std::pair{IDRETRY, Answer::kRetry}, std::pair{IDCANCEL, Answer::kCancel}}) {
    User user(button);
    EXPECT_EQ(box_.retry_or_cancel(u"Once more?", kTitle, 0), answer);
    const Seen seen = user.seen();
    EXPECT_EQ(seen.text, L"Once more?");
    EXPECT_EQ(seen.buttons, (std::vector<int>{IDCANCEL, IDRETRY}));
  }
  EXPECT_EQ(unasked_, 0);
}

TEST_F(DesktopMessageBoxTest, InformsOnTheScreenWithTheOkButtonOnly) {
  User user(IDOK);
  box_.inform(u"It is so.", kTitle);
  const Seen seen = user.seen();
  EXPECT_EQ(seen.text, L"It is so.");
  EXPECT_EQ(seen.buttons.size(), 1u);
  EXPECT_EQ(unasked_, 0);
}

}  // namespace
}  // namespace tarnwick::platform
