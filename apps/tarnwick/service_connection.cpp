#include "apps/tarnwick/service_connection.h"

#include <cerrno>
#include <cstdint>
#include <utility>

#include "automation/dbus/names.h"
#include "runtime/text.h"

namespace tarnwick::cli {
namespace {

namespace dbus = automation::dbus;
using dbus::check;
using Message = ServiceConnection::Message;

// Zero characters, and code points that are no characters.
constexpr char kNotCarried[] =
    "A text holds a character that the bus cannot carry. With --in-process the service is not "
    "needed.";
constexpr char kPromptPath[] = "/org/tarnwick/Security1/Prompt";
constexpr char kProperties[] = "org.freedesktop.DBus.Properties";

int keep_reply(sd_bus_message* message, void* reply, sd_bus_error*) {
  static_cast<Message*>(reply)->reset(sd_bus_message_ref(message));
  return 1;
}

}  // namespace

void check_argument(int result) {
  if (result == -EINVAL) throw Failure(ExitCode::kFailed, kNotCarried);
  check(result, "making a call");
}

ServiceConnection::ServiceConnection(std::unique_ptr<ServiceBus> bus,
                                     platform::MessageBox& message_box, TerminalInput& input)
    : message_box_(message_box), input_(input), bus_(std::move(bus)) {
  static const sd_bus_vtable prompt[] = {
      SD_BUS_VTABLE_START(0),
      SD_BUS_METHOD("RetryOrCancel", "ss", "b", &ServiceConnection::on_question,
                    SD_BUS_VTABLE_UNPRIVILEGED),
      SD_BUS_VTABLE_END};
  sd_bus_slot* slot = nullptr;
  check(sd_bus_add_object_vtable(bus_->get(), &slot, kPromptPath, dbus::kLockPromptInterface,
                                 prompt, this),
        "answering questions");
  prompt_.reset(slot);
  input_.set_meanwhile(
      {check(sd_bus_get_fd(bus_->get()), "watching the bus"), [this] { return still_waits(); }});
  call(dbus::kRootPath, dbus::kAutomationInterface, "SetLockPrompt", "o", kPromptPath);
}

ServiceConnection::~ServiceConnection() { input_.set_meanwhile({}); }

bool ServiceConnection::reserve(const std::string& connect_string) {
  Message message = new_call(dbus::kRootPath, dbus::kAutomationInterface, "Reserve");
  check(sd_bus_message_sensitive(message.get()), "making a call");
  check_argument(sd_bus_message_append(message.get(), "s", connect_string.c_str()));
  return boolean_result(send(std::move(message)));
}

// Answered later: while this runs, nothing else that the bus brings could be looked at.
int ServiceConnection::on_question(sd_bus_message* message, void* userdata, sd_bus_error*) {
  static_cast<ServiceConnection*>(userdata)->question_.reset(sd_bus_message_ref(message));
  return 1;
}

void ServiceConnection::answer_question() {
  const Message question = std::move(question_);
  const char* title = nullptr;
  const char* text = nullptr;
  check(sd_bus_message_read(question.get(), "ss", &title, &text), "reading a question");
  const bool retry = message_box_.retry_or_cancel(from_stored_utf8(text), from_stored_utf8(title),
                                                  retried_) == platform::Answer::kRetry;
  if (retry) ++retried_;
  check(sd_bus_reply_method_return(question.get(), "b", retry ? 1 : 0), "answering a question");
}

// The service may have waited long enough, or be gone.
bool ServiceConnection::still_waits() {
  while (check(sd_bus_process(bus_->get(), nullptr), "waiting for the service") > 0) {
  }
  return reply_ == nullptr;
}

Message ServiceConnection::new_call(const std::string& path, const std::string& interface,
                                    const char* member) {
  sd_bus_message* message = nullptr;
  check(sd_bus_message_new_method_call(bus_->get(), &message, dbus::kBusName, path.c_str(),
                                       interface.c_str(), member),
        "making a call");
  return Message(message);
}

Message ServiceConnection::send(Message message) {
  reply_.reset();
  retried_ = 0;
  sd_bus_slot* slot = nullptr;
  check(sd_bus_call_async(bus_->get(), &slot, message.get(), &keep_reply, &reply_, UINT64_MAX),
        "calling the service");
  const dbus::SlotHandle waiting(slot);
  while (reply_ == nullptr) {
    if (question_ != nullptr) {
      answer_question();
      continue;
    }
    if (check(sd_bus_process(bus_->get(), nullptr), "waiting for the service") > 0) continue;
    const int result = sd_bus_wait(bus_->get(), UINT64_MAX);
    if (result != -EINTR) check(result, "waiting for the service");
  }
  if (const sd_bus_error* error = sd_bus_message_get_error(reply_.get())) {
    throw Refusal(error->name, error->message == nullptr ? error->name : error->message);
  }
  return std::move(reply_);
}

bool boolean_result(const Message& reply) {
  int value = 0;
  check(sd_bus_message_read_basic(reply.get(), 'b', &value), "reading a reply");
  return value != 0;
}

std::int32_t number_result(const Message& reply) {
  std::int32_t value = 0;
  check(sd_bus_message_read_basic(reply.get(), 'i', &value), "reading a reply");
  return value;
}

std::string text_result(const Message& reply, char type) {
  const char* value = nullptr;
  check(sd_bus_message_read_basic(reply.get(), type, &value), "reading a reply");
  return value;
}

RemoteObject::RemoteObject(ServiceConnection& service, const char* class_name)
    : RemoteObject(service, class_name,
                   text_result(service.call(dbus::kRootPath, dbus::kAutomationInterface,
                                            "CreateObject", "s", class_name),
                               'o')) {}

RemoteObject::RemoteObject(ServiceConnection& service, const char* class_name, std::string path)
    : service_(service),
      interface_(std::string(dbus::kBusName) + "." + class_name),
      path_(std::move(path)) {}

RemoteObject::~RemoteObject() {
  try {
    service_.call(dbus::kRootPath, dbus::kAutomationInterface, "Release", "o", path_.c_str());
  } catch (const std::exception&) {
    // The service is gone, and the object with it.
  }
}

Message RemoteObject::get(const char* property, const char* type) const {
  Message reply = service_.call(path_, kProperties, "Get", "ss", interface_.c_str(), property);
  check(sd_bus_message_enter_container(reply.get(), SD_BUS_TYPE_VARIANT, type), "reading a reply");
  return reply;
}

}  // namespace tarnwick::cli
