#include "client/dbus_connection.h"

#include <cerrno>
#include <charconv>
#include <string_view>

#include "automation/dbus/names.h"
#include "runtime/text.h"

namespace tarnwick::client {
namespace {

namespace dbus = automation::dbus;
using dbus::check;
using Message = DbusConnection::Message;

constexpr char kPromptPath[] = "/org/tarnwick/Security1/Prompt";

// The service begins the text of a run-time error with its number.
std::int32_t number_in(std::string_view text) {
  constexpr std::string_view kBegin = "Run-time error ";
  std::int32_t number = 0;
  if (text.starts_with(kBegin)) {
    std::from_chars(text.data() + kBegin.size(), text.data() + text.size(), number);
  }
  return number;
}

CallError::Reason reason_of(std::string_view name) {
  return name == SD_BUS_ERROR_NO_REPLY ? CallError::Reason::kNotAnswered
                                       : CallError::Reason::kRefused;
}

std::string sentence(std::string_view name, const std::string& text) {
  // It is the bus that says so, in words of its own rules.
  if (name == SD_BUS_ERROR_ACCESS_DENIED) {
    return "The bus does not let this user reach the service. On the system's bus its "
           "administrator admits members of the group tarnwick, from their next login on: " +
           text;
  }
  return "The service refused a call: " + text;
}

int keep_reply(sd_bus_message* message, void* reply, sd_bus_error*) {
  static_cast<Message*>(reply)->reset(sd_bus_message_ref(message));
  return 1;
}

}  // namespace

DbusRefusal::DbusRefusal(std::string name, const std::string& text)
    : CallError(reason_of(name), sentence(name, text), number_in(text)), name_(std::move(name)) {}

DbusConnection::DbusConnection(sd_bus* bus, Questions questions)
    : bus_(bus), questions_(std::move(questions)) {
  static const sd_bus_vtable prompt[] = {
      SD_BUS_VTABLE_START(0),
      SD_BUS_METHOD("RetryOrCancel", "ss", "b", &DbusConnection::on_question,
                    SD_BUS_VTABLE_UNPRIVILEGED),
      SD_BUS_VTABLE_END};
  sd_bus_slot* slot = nullptr;
  check(
      sd_bus_add_object_vtable(bus_, &slot, kPromptPath, dbus::kLockPromptInterface, prompt, this),
      "answering questions");
  prompt_.reset(slot);
  questions_.attend(check(sd_bus_get_fd(bus_), "watching the bus"),
                    [this] { return still_waits(); });
  call(dbus::kRootPath, dbus::kAutomationInterface, "SetLockPrompt", "o", kPromptPath);
}

DbusConnection::~DbusConnection() { questions_.attend(-1, {}); }

// Answered later: while this runs, nothing else that the bus brings could be looked at.
int DbusConnection::on_question(sd_bus_message* message, void* userdata, sd_bus_error*) {
  static_cast<DbusConnection*>(userdata)->question_.reset(sd_bus_message_ref(message));
  return 1;
}

void DbusConnection::answer_question() {
  const Message question = std::move(question_);
  const char* title = nullptr;
  const char* text = nullptr;
  check(sd_bus_message_read(question.get(), "ss", &title, &text), "reading a question");
  const bool retry = questions_.box.retry_or_cancel(from_stored_utf8(text), from_stored_utf8(title),
                                                    retried_) == platform::Answer::kRetry;
  if (retry) ++retried_;
  check(sd_bus_reply_method_return(question.get(), "b", retry ? 1 : 0), "answering a question");
}

// The service may have waited long enough, or be gone.
bool DbusConnection::still_waits() {
  while (check(sd_bus_process(bus_, nullptr), "waiting for the service") > 0) {
  }
  return reply_ == nullptr;
}

Message DbusConnection::new_call(const std::string& path, const std::string& interface,
                                 const std::string& member) {
  sd_bus_message* message = nullptr;
  check(sd_bus_message_new_method_call(bus_, &message, dbus::kBusName, path.c_str(),
                                       interface.c_str(), member.c_str()),
        "making a call");
  return Message(message);
}

Message DbusConnection::send(Message message) {
  reply_.reset();
  retried_ = 0;
  sd_bus_slot* slot = nullptr;
  check(sd_bus_call_async(bus_, &slot, message.get(), &keep_reply, &reply_, UINT64_MAX),
        "calling the service");
  const dbus::SlotHandle waiting(slot);
  while (reply_ == nullptr) {
    if (question_ != nullptr) {
      answer_question();
      continue;
    }
    if (check(sd_bus_process(bus_, nullptr), "waiting for the service") > 0) continue;
    const int result = sd_bus_wait(bus_, UINT64_MAX);
    if (result != -EINTR) check(result, "waiting for the service");
  }
  if (const sd_bus_error* error = sd_bus_message_get_error(reply_.get())) {
    throw DbusRefusal(error->name, error->message == nullptr ? error->name : error->message);
  }
  return std::move(reply_);
}

}  // namespace tarnwick::client
