#include "platform/linux/desktop_message_box.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "tests/support/temporary_folder.h"

namespace tarnwick::platform {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// What stands behind the desktop: remembers what it was asked, and answers what no desktop does.
class Fallback final : public MessageBox {
 public:
  Answer retry_or_cancel(TextView text, TextView, std::uint32_t) override {
    asked.emplace_back(text);
    return Answer::kOk;
  }
  void inform(TextView text, TextView) override { told.emplace_back(text); }

  std::vector<Text> asked;
  std::vector<Text> told;
};

// A shell script stands for the program with the windows.
class Desktop : public testing::Test {
 protected:
  Desktop() { setenv("DISPLAY", ":0", 1); }
  ~Desktop() override { unsetenv("DISPLAY"); }

  DesktopMessageBox box(const std::string& script, int seconds = 60) {
    const auto program = folder.write("program", "#!/bin/sh\n" + script);
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    return {program, std::chrono::seconds(seconds), fallback,
            [this](TextView line) { log.emplace_back(line); }};
  }
  Answer ask(DesktopMessageBox asked) {
    return asked.retry_or_cancel(u"the text", u"a \"title\"", 0);
  }

  test_support::TemporaryFolder folder;
  Fallback fallback;
  std::vector<Text> log;
};

TEST_F(Desktop, AnswersWhatTheProgramPrints) {
  EXPECT_EQ(ask(box("echo retry")), Answer::kRetry);
  EXPECT_EQ(ask(box("echo cancel")), Answer::kCancel);
  EXPECT_EQ(ask(box("echo something else")), Answer::kCancel);
  EXPECT_THAT(fallback.asked, IsEmpty());
  EXPECT_THAT(log, IsEmpty());
}

TEST_F(Desktop, HandsTheProgramTitleAndText) {
  EXPECT_EQ(ask(box("[ \"$1|$2|$3\" = 'retry-or-cancel|a \"title\"|the text' ] && echo retry")),
            Answer::kRetry);
  EXPECT_THAT(fallback.asked, IsEmpty());
}

TEST_F(Desktop, KeepsTheProgramsInputOpenWhileItWaits) {
  EXPECT_EQ(ask(box("timeout 0.1 cat; [ $? = 124 ] && echo retry")), Answer::kRetry);
}

TEST_F(Desktop, AnswersCancelWhenNobodyDoesInTime) {
  EXPECT_EQ(ask(box("exec sleep 600", 1)), Answer::kCancel);
  EXPECT_THAT(fallback.asked, IsEmpty());
  EXPECT_THAT(log, ElementsAre(u"a \"title\": the text Nobody answered on the desktop. Answered: "
                               u"Cancel."));
}

TEST_F(Desktop, AsksElsewhereWhenTheProgramCannotShowAWindow) {
  EXPECT_EQ(ask(box("exit 1")), Answer::kOk);
  EXPECT_EQ(ask(box("kill -9 $$")), Answer::kOk);
  EXPECT_THAT(fallback.asked, ElementsAre(u"the text", u"the text"));
}

TEST_F(Desktop, AsksElsewhereWithoutAScreenOrAProgram) {
  auto asked = box("echo cancel");
  setenv("DISPLAY", "", 1);
  EXPECT_EQ(ask(asked), Answer::kOk);
  unsetenv("DISPLAY");
  EXPECT_EQ(ask(asked), Answer::kOk);
  setenv("DISPLAY", ":0", 1);
  std::filesystem::remove(folder.path() / "program");
  EXPECT_EQ(ask(asked), Answer::kOk);
  EXPECT_EQ(ask({"", std::chrono::seconds(60), fallback, {}}), Answer::kOk);
  EXPECT_EQ(fallback.asked.size(), 4u);
}

TEST_F(Desktop, TellsElsewhereWhatItCannotShow) {
  box("[ \"$1\" = inform ]").inform(u"shown", u"");
  EXPECT_THAT(fallback.told, IsEmpty());
  box("exit 1").inform(u"not shown", u"");
  EXPECT_THAT(fallback.told, ElementsAre(u"not shown"));
}

}  // namespace
}  // namespace tarnwick::platform
