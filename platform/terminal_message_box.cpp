#include "platform/terminal_message_box.h"

#include <istream>
#include <ostream>
#include <string>
#include <utility>

#include "runtime/case_mapping.h"

namespace tarnwick::platform {

TerminalMessageBox::TerminalMessageBox(std::istream& input, std::ostream& output,
                                       std::chrono::seconds patience, WaitForLine wait_for_line)
    : input_(input),
      output_(output),
      patience_(patience),
      wait_for_line_(std::move(wait_for_line)) {}

Answer TerminalMessageBox::retry_or_cancel(TextView text, TextView title, std::uint32_t) {
  inform(text, title);
  const Time until = std::chrono::steady_clock::now() + patience_;
  for (;;) {
    output_ << "Retry or cancel? [r/c] " << std::flush;
    if (!wait_for_line_(until)) {
      output_ << "\nNobody answered. Answered: Cancel." << std::endl;
      return Answer::kCancel;
    }
    std::string line;
    if (!std::getline(input_, line)) {
      output_ << '\n';
      return Answer::kCancel;
    }
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const Text read = from_stored_utf8(line);
    const TextView answer = trim(read);
    if (is_one_of(answer, {u"r", u"retry"})) return Answer::kRetry;
    if (is_one_of(answer, {u"c", u"cancel"})) return Answer::kCancel;
  }
}

void TerminalMessageBox::inform(TextView text, TextView title) {
  if (!title.empty()) output_ << to_display_utf8(title) << ": ";
  output_ << to_display_utf8(text) << std::endl;
}

}  // namespace tarnwick::platform
