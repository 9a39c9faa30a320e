#include <gtest/gtest.h>

#include <vector>

#include "platform/unattended_message_box.h"
#include "platform/windows/desktop_message_box.h"

namespace tarnwick::platform {
namespace {

TEST(DesktopMessageBox, LeavesTheAnswerToAnotherWhereThereIsNoScreen) {
  std::vector<Text> logged;
  UnattendedMessageBox without_screen{{WhenLocked::Kind::kRetry, 1},
                                      [&](TextView line) { logged.emplace_back(line); }};
  DesktopMessageBox box{without_screen};
  EXPECT_EQ(box.retry_or_cancel(u"Once more?", u"Title", 0), Answer::kRetry);
  EXPECT_EQ(box.retry_or_cancel(u"Once more?", u"Title", 1), Answer::kCancel);
  box.inform(u"It is so.", u"Title");
  EXPECT_EQ(logged,
            (std::vector<Text>{u"Title: Once more? Answered: Retry (1 of 1).",
                               u"Title: Once more? Answered: Cancel.", u"Title: It is so."}));
}

}  // namespace
}  // namespace tarnwick::platform
