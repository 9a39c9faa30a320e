#include "apps/tarnwick/session/message_box.h"

#include <iostream>
#include <utility>

#include "apps/tarnwick/output/print.h"
#include "platform/terminal.h"

namespace tarnwick::cli {

void tell(TextView line) { tell_error(to_display_utf8(line)); }

SharedBox make_message_box(const Options& options,
                           platform::TerminalMessageBox::WaitForLine wait_for_line) {
  using platform::Standard;
  if (options.when_locked.kind != platform::WhenLocked::Kind::kAsk) {
    return std::make_shared<platform::UnattendedMessageBox>(options.when_locked, tell);
  }
  if (!platform::is_terminal(Standard::kInput) || !platform::is_terminal(Standard::kError)) {
    return make_desktop_box(options.question_timeout);
  }
  return std::make_shared<platform::TerminalMessageBox>(
      std::cin, std::cerr, options.question_timeout, std::move(wait_for_line));
}

}  // namespace tarnwick::cli
