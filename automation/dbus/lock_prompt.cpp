#include "automation/dbus/lock_prompt.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>

#include "automation/dbus/error.h"
#include "automation/dbus/handles.h"
#include "automation/dbus/names.h"

namespace tarnwick::automation::dbus {

using platform::Answer;
using Clock = std::chrono::steady_clock;

namespace {

// Has what sd-bus tells when the answer comes, or when none will.
int on_answer(sd_bus_message* message, void* reply, sd_bus_error*) {
  static_cast<MessageHandle*>(reply)->reset(sd_bus_message_ref(message));
  return 0;
}

}  // namespace

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

  const MessageHandle reply = answer_to(question.get());
  std::string reason;
  if (const sd_bus_error* error = reply ? sd_bus_message_get_error(reply.get()) : nullptr) {
    reason = error->message == nullptr ? error->name : error->message;
  }
  int retry = 0;
  if (!reply || !reason.empty() || sd_bus_message_read(reply.get(), "b", &retry) < 0) {
    log_(join({title, u": ", text, u" ", from_stored_utf8(caller_.name), u" gave no answer (",
               from_stored_utf8(reason), u"). Answered: Cancel."}));
    return Answer::kCancel;
  }
  return retry != 0 ? Answer::kRetry : Answer::kCancel;
}

// Whoever finds out the name of this connection can send to it. sd_bus_call would keep all that
// until the answer is there; so each message is taken as it comes, and is gone.
MessageHandle BusMessageBox::answer_to(sd_bus_message* question) {
  MessageHandle reply;
  sd_bus_slot* made = nullptr;
  const auto patience = std::chrono::duration_cast<std::chrono::microseconds>(patience_);
  const auto end = Clock::now() + patience;
  if (sd_bus_call_async(bus_, &made, question, &on_answer, &reply,
                        static_cast<std::uint64_t>(patience.count())) < 0) {
    return reply;
  }
  const SlotHandle slot(made);
  while (!reply) {
    const int result = sd_bus_process(bus_, nullptr);
    if (result < 0) break;
    const auto left =
        std::chrono::duration_cast<std::chrono::microseconds>(end - Clock::now()).count();
    // sd-bus answers in time itself, unless there is always something else to do.
    if (left <= 0 && result > 0 && !reply) break;
    if (result == 0 &&
        sd_bus_wait(bus_, static_cast<std::uint64_t>(std::max<std::int64_t>(left, 1))) < 0) {
      break;
    }
  }
  return reply;
}

void BusMessageBox::inform(TextView text, TextView title) { otherwise_.inform(text, title); }

}  // namespace tarnwick::automation::dbus
