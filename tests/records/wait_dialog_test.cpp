#include "records/wait_dialog.h"

#include <gtest/gtest.h>

namespace tarnwick {
namespace {

TEST(WaitDialog, HasItsTexts) {
  EXPECT_EQ(WaitDialog::kCaption, u"Locked!");
  EXPECT_EQ(WaitDialog::kLabel, u"A record lock has been encountered, Please wait...");
  EXPECT_EQ(WaitDialog::kCancelCaption, u"&Cancel");
}

TEST(WaitDialog, BeginsWithoutTheButtonNotCancelledAndNotLoaded) {
  const WaitDialog dialog;
  EXPECT_FALSE(dialog.show_cancel());
  EXPECT_FALSE(dialog.cancelled());
  EXPECT_FALSE(dialog.loaded());
}

TEST(WaitDialog, IsHigherWithTheButton) {
  WaitDialog dialog;
  EXPECT_EQ(dialog.height(), 1215);
  EXPECT_FALSE(dialog.cancel_available());
  dialog.set_show_cancel(true);
  EXPECT_TRUE(dialog.show_cancel());
  EXPECT_EQ(dialog.height(), 1665);
  EXPECT_TRUE(dialog.cancel_available());
  dialog.set_show_cancel(false);
  EXPECT_EQ(dialog.height(), 1215);
  EXPECT_FALSE(dialog.cancel_available());
}

TEST(WaitDialog, AppliesTheLayoutWhenActivatedAndWhenTheButtonIsSet) {
  int applied = 0;
  WaitDialog dialog([&] { ++applied; });
  EXPECT_EQ(applied, 0);
  dialog.activate();
  EXPECT_EQ(applied, 1);
  dialog.set_show_cancel(true);
  EXPECT_EQ(applied, 2);
  dialog.set_show_cancel(true);
  EXPECT_EQ(applied, 3);
}

TEST(WaitDialog, IsCancelledByItsButtonAndUnloads) {
  WaitDialog dialog;
  dialog.activate();
  EXPECT_TRUE(dialog.loaded());
  dialog.click_cancel();
  EXPECT_TRUE(dialog.cancelled());
  EXPECT_FALSE(dialog.loaded());
}

TEST(WaitDialog, IsCancelledByItsCloseBox) {
  WaitDialog dialog;
  dialog.activate();
  dialog.close_box();
  EXPECT_TRUE(dialog.cancelled());
  EXPECT_FALSE(dialog.loaded());
}

TEST(WaitDialog, IsNotCancelledWhenCodeUnloadsIt) {
  WaitDialog dialog;
  dialog.activate();
  dialog.unload();
  EXPECT_FALSE(dialog.cancelled());
  EXPECT_FALSE(dialog.loaded());
}

TEST(WaitDialog, ForgetsACancellationWhenActivatedAgain) {
  WaitDialog dialog;
  dialog.activate();
  dialog.click_cancel();
  dialog.activate();
  EXPECT_FALSE(dialog.cancelled());
}

}  // namespace
}  // namespace tarnwick
