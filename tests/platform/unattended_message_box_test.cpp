#include "platform/unattended_message_box.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace tarnwick::platform {
namespace {

using ::testing::ElementsAre;

TEST(WhenLocked, IsReadInThreeForms) {
  EXPECT_EQ(WhenLocked::parse("ask")->kind, WhenLocked::Kind::kAsk);
  EXPECT_EQ(WhenLocked::parse("cancel")->kind, WhenLocked::Kind::kCancel);
  EXPECT_EQ(WhenLocked::parse("retry:1")->kind, WhenLocked::Kind::kRetry);
  EXPECT_EQ(WhenLocked::parse("retry:1")->retries, 1u);
  EXPECT_EQ(WhenLocked::parse("retry:1000000")->retries, 1'000'000u);
}

TEST(WhenLocked, IsNothingInAnyOtherForm) {
  for (const char* text :
       {"", "Ask", "cancel ", "retry", "retry:", "retry:0", "retry:-1", "retry:+1", "retry: 1",
        "retry:1x", "retry:1000001", "retry:99999999999999999999", "RETRY:1"}) {
    EXPECT_FALSE(WhenLocked::parse(text).has_value()) << text;
  }
}

class UnattendedMessageBoxTest : public ::testing::Test {
 protected:
  UnattendedMessageBox box(const char* when_locked) {
    return {*WhenLocked::parse(when_locked), [this](TextView line) { log_.emplace_back(line); }};
  }
  static Answer ask(MessageBox& box, std::uint32_t retried = 0) {
    return box.retry_or_cancel(u"In use!", u"Locked", retried);
  }

  std::vector<Text> log_;
};

TEST_F(UnattendedMessageBoxTest, CancelsWithALineInTheLog) {
  auto cancelling = box("cancel");
  EXPECT_EQ(ask(cancelling), Answer::kCancel);
  EXPECT_THAT(log_, ElementsAre(u"Locked: In use! Answered: Cancel."));
}

TEST_F(UnattendedMessageBoxTest, CancelsWhereItShouldAskNobody) {
  auto asking = box("ask");
  EXPECT_EQ(ask(asking), Answer::kCancel);
  EXPECT_THAT(log_, ElementsAre(u"Locked: In use! Answered: Cancel."));
}

TEST_F(UnattendedMessageBoxTest, RetriesEachQuestionAsOftenAsItIsToldThenCancels) {
  auto retrying = box("retry:2");
  EXPECT_EQ(ask(retrying, 0), Answer::kRetry);
  EXPECT_EQ(ask(retrying, 1), Answer::kRetry);
  EXPECT_EQ(ask(retrying, 2), Answer::kCancel);
  EXPECT_EQ(ask(retrying, 0), Answer::kRetry);
  EXPECT_THAT(log_, ElementsAre(u"Locked: In use! Answered: Retry (1 of 2).",
                                u"Locked: In use! Answered: Retry (2 of 2).",
                                u"Locked: In use! Answered: Cancel.",
                                u"Locked: In use! Answered: Retry (1 of 2)."));
}

TEST_F(UnattendedMessageBoxTest, OwesAQuestionNothingForTheRetriesOfOneThatWentWell) {
  auto retrying = box("retry:2");
  EXPECT_EQ(ask(retrying, 0), Answer::kRetry);
  EXPECT_EQ(ask(retrying, 0), Answer::kRetry);
  EXPECT_EQ(ask(retrying, 1), Answer::kRetry);
  EXPECT_EQ(ask(retrying, 2), Answer::kCancel);
}

TEST_F(UnattendedMessageBoxTest, WritesInformationToTheLog) {
  auto informing = box("cancel");
  informing.inform(u"Something", u"Tarnwick");
  informing.inform(u"Something", u"");
  EXPECT_THAT(log_, ElementsAre(u"Tarnwick: Something", u"Something"));
}

}  // namespace
}  // namespace tarnwick::platform
