#include "platform/terminal_message_box.h"

#include <gtest/gtest.h>

#include <chrono>
#include <sstream>
#include <string>
#include <vector>

namespace tarnwick::platform {
namespace {

using Time = TerminalMessageBox::Time;

constexpr std::chrono::seconds kPatience{60};

bool at_once(Time) { return true; }

struct Asked {
  Answer answer;
  std::string output;
};

Asked ask(const std::string& typed) {
  std::istringstream input(typed);
  std::ostringstream output;
  TerminalMessageBox box(input, output, kPatience, at_once);
  const Answer answer = box.retry_or_cancel(u"The record is locked!", u"Locked", 0);
  return {answer, output.str()};
}

TEST(TerminalMessageBox, PrintsTitleTextAndQuestion) {
  EXPECT_EQ(ask("r\n").output, "Locked: The record is locked!\nRetry or cancel? [r/c] ");
}

TEST(TerminalMessageBox, TakesTheLetterOrTheWordInAnyCase) {
  for (const char* typed : {"r\n", "R\n", "retry\n", "ReTry\n", " r \n", "r\r\n", "r"}) {
    EXPECT_EQ(ask(typed).answer, Answer::kRetry) << typed;
  }
  for (const char* typed : {"c\n", "C\n", "cancel\n", "CANCEL\n", "c"}) {
    EXPECT_EQ(ask(typed).answer, Answer::kCancel) << typed;
  }
}

TEST(TerminalMessageBox, AsksAgainAfterAnythingElse) {
  const Asked asked = ask("\nmaybe\nret\nr\nc\n");
  EXPECT_EQ(asked.answer, Answer::kRetry);
  EXPECT_EQ(asked.output,
            "Locked: The record is locked!\n"
            "Retry or cancel? [r/c] Retry or cancel? [r/c] "
            "Retry or cancel? [r/c] Retry or cancel? [r/c] ");
}

TEST(TerminalMessageBox, TakesTheEndOfInputAsCancel) {
  EXPECT_EQ(ask("").answer, Answer::kCancel);
  EXPECT_EQ(ask("maybe\n").answer, Answer::kCancel);
}

TEST(TerminalMessageBox, TakesNoAnswerInTimeAsCancel) {
  std::istringstream input("maybe\nr\n");
  std::ostringstream output;
  std::vector<Time> waits;
  const Time before = std::chrono::steady_clock::now();
  TerminalMessageBox box(input, output, kPatience, [&](Time until) {
    waits.push_back(until);
    return waits.size() == 1;
  });
  EXPECT_EQ(box.retry_or_cancel(u"The record is locked!", u"Locked", 0), Answer::kCancel);
  EXPECT_EQ(output.str(),
            "Locked: The record is locked!\n"
            "Retry or cancel? [r/c] Retry or cancel? [r/c] \n"
            "Nobody answered. Answered: Cancel.\n");
  // One deadline for the whole question, however often it is repeated.
  ASSERT_EQ(waits.size(), 2u);
  EXPECT_EQ(waits[0], waits[1]);
  EXPECT_GE(waits[0], before + kPatience);
  EXPECT_EQ(input.peek(), 'r');
}

TEST(TerminalMessageBox, InformsWithoutWaiting) {
  std::istringstream input("r\n");
  std::ostringstream output;
  TerminalMessageBox box(input, output, kPatience, at_once);
  box.inform(u"Gr\u00FC\u00DFe \xD800", u"Tarnwick");
  box.inform(u"no title", u"");
  EXPECT_EQ(output.str(), "Tarnwick: Gr\u00FC\u00DFe \uFFFD\nno title\n");
  EXPECT_EQ(input.get(), 'r');
}

}  // namespace
}  // namespace tarnwick::platform
