#include "platform/terminal_message_box.h"

#include <istream>
#include <ostream>
#include <string>

#include "runtime/case_mapping.h"

namespace tarnwick::platform {

TerminalMessageBox::TerminalMessageBox(std::istream& input, std::ostream& output)
    : input_(input), output_(output) {}

Answer TerminalMessageBox::retry_or_cancel(TextView text, TextView title) {
  inform(text, title);
  for (;;) {
    output_ << "Retry or cancel? [r/c] " << std::flush;
    std::string line;
    if (!std::getline(input_, line)) {
      output_ << '\n';
      return Answer::kCancel;
    }
    if (!line.empty() && line.back() == '\r') line.pop_back();
    const Text read = from_stored_utf8(line);
    const TextView answer = trim(read);
    if (equals_ignoring_case(answer, u"r") || equals_ignoring_case(answer, u"retry")) {
      return Answer::kRetry;
    }
    if (equals_ignoring_case(answer, u"c") || equals_ignoring_case(answer, u"cancel")) {
      return Answer::kCancel;
    }
  }
}

void TerminalMessageBox::inform(TextView text, TextView title) {
  if (!title.empty()) output_ << to_display_utf8(title) << ": ";
  output_ << to_display_utf8(text) << std::endl;
}

}  // namespace tarnwick::platform
