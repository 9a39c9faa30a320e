#include "automation/dbus/lock_prompt.h"

#include <string>
#include <utility>

#include "automation/dbus/error.h"
#include "automation/dbus/handles.h"
#include "automation/dbus/names.h"

namespace tarnwick::automation::dbus {

using platform::Answer;

BusMessageBox::BusMessageBox(sd_bus* bus, const Clients& clients, const Caller& caller,
                             std::chrono::seconds patience, platform::MessageBox& otherwise,
                             Log log)
    : bus_(bus),
      clients_(clients),
      caller_(caller),
      patience_(patience),
      otherwise_(otherwise),
      log_(std::move(log)) {}

Answer BusMessageBox::retry_or_cancel(TextView text, TextView title, std::uint32_t retried) {
  const std::string prompt = clients_.lock_prompt_of(caller_.name);
  return prompt.empty() ? otherwise_.retry_or_cancel(text, title, retried)
                        : ask(prompt, text, title);
}

Answer BusMessageBox::ask(const std::string& prompt, TextView text, TextView title) {
  sd_bus_message* made = nullptr;
  check(sd_bus_message_new_method_call(bus_, &made, caller_.name.c_str(), prompt.c_str(),
                                       kLockPromptInterface, "RetryOrCancel"),
        "making a question");
  const MessageHandle question(made);
  check(sd_bus_message_append(question.get(), "ss", to_display_utf8(title).c_str(),
                              to_display_utf8(text).c_str()),
        "making a question");

  ErrorHandle error;
  sd_bus_message* received = nullptr;
  const auto timeout = std::chrono::duration_cast<std::chrono::microseconds>(patience_);
  int result = sd_bus_call(bus_, question.get(), static_cast<std::uint64_t>(timeout.count()),
                           error.get(), &received);
  const MessageHandle reply(received);
  int retry = 0;
  if (result >= 0) result = sd_bus_message_read(reply.get(), "b", &retry);
  if (result < 0) {
    log_(join({title, u": ", text, u" ", from_stored_utf8(caller_.name), u" gave no answer (",
               from_stored_utf8(error.message()), u"). Answered: Cancel."}));
    return Answer::kCancel;
  }
  return retry != 0 ? Answer::kRetry : Answer::kCancel;
}

void BusMessageBox::inform(TextView text, TextView title) { otherwise_.inform(text, title); }

}  // namespace tarnwick::automation::dbus
