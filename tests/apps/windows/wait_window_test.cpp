#include "apps/windows/wait_window.h"

#include <gtest/gtest.h>

#include <string>

namespace tarnwick::apps {
namespace {

std::wstring text_of(HWND window) {
  wchar_t text[256]{};
  GetWindowTextW(window, text, 256);
  return text;
}

int height_of(HWND window) {
  RECT rectangle{};
  EXPECT_NE(GetWindowRect(window, &rectangle), 0);
  return static_cast<int>(rectangle.bottom - rectangle.top);
}

/// 1440 twips to the inch.
int pixels(int twips) {
  const HDC screen = GetDC(nullptr);
  const int dots = GetDeviceCaps(screen, LOGPIXELSY);
  ReleaseDC(nullptr, screen);
  return MulDiv(twips, dots, 1440);
}

void take_messages() {
  MSG message;
  while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

class WaitWindowTest : public ::testing::Test {
 protected:
  [[nodiscard]] HWND button() const { return GetDlgItem(wait_.window(), IDCANCEL); }

  WaitWindow wait_;
};

TEST_F(WaitWindowTest, ShowsCaptionAndLabelAndNoButtonAtFirst) {
  wait_.show();
  ASSERT_NE(wait_.window(), nullptr);
  EXPECT_EQ(text_of(wait_.window()), L"Locked!");
  EXPECT_EQ(text_of(GetDlgItem(wait_.window(), 0)),
            L"A record lock has been encountered, Please wait...");
  EXPECT_NE(IsWindowVisible(wait_.window()), FALSE);
  EXPECT_EQ(IsWindowVisible(button()), FALSE);
  EXPECT_EQ(IsWindowEnabled(button()), FALSE);
  EXPECT_EQ(height_of(wait_.window()), pixels(1215));
}

TEST_F(WaitWindowTest, GrowsByTheButton) {
  wait_.show();
  wait_.set_show_cancel(true);
  EXPECT_EQ(text_of(button()), L"&Cancel");
  EXPECT_NE(IsWindowVisible(button()), FALSE);
  EXPECT_NE(IsWindowEnabled(button()), FALSE);
  EXPECT_EQ(height_of(wait_.window()), pixels(1665));
  wait_.set_show_cancel(false);
  EXPECT_EQ(IsWindowVisible(button()), FALSE);
  EXPECT_EQ(height_of(wait_.window()), pixels(1215));
}

TEST_F(WaitWindowTest, IsCancelledByItsButton) {
  wait_.set_show_cancel(true);
  wait_.show();
  EXPECT_FALSE(wait_.cancelled());
  PostMessageW(button(), BM_CLICK, 0, 0);
  take_messages();
  EXPECT_TRUE(wait_.cancelled());
  EXPECT_EQ(wait_.window(), nullptr);
}

TEST_F(WaitWindowTest, IsCancelledByItsCloseBox) {
  wait_.show();
  PostMessageW(wait_.window(), WM_SYSCOMMAND, SC_CLOSE, 0);
  take_messages();
  EXPECT_TRUE(wait_.cancelled());
  EXPECT_EQ(wait_.window(), nullptr);
}

TEST_F(WaitWindowTest, IsNotCancelledWhenCodeUnloadsItAndForgetsWhenItIsShownAgain) {
  wait_.show();
  wait_.unload();
  EXPECT_FALSE(wait_.cancelled());
  wait_.show();
  PostMessageW(wait_.window(), WM_CLOSE, 0, 0);
  take_messages();
  EXPECT_TRUE(wait_.cancelled());
  wait_.show();
  EXPECT_FALSE(wait_.cancelled());
}

}  // namespace
}  // namespace tarnwick::apps
