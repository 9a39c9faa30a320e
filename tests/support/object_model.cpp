#include "tests/support/object_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

namespace tarnwick::test_support {
void ScriptedMessageBox::will_answer(platform::Answer answer, std::function<void()> while_open) {
  prepared_.push_back({answer, std::move(while_open)});
}

platform::Answer ScriptedMessageBox::retry_or_cancel(TextView text, TextView title,
                                                     std::uint32_t earlier) {
  questions.push_back({Text(text), Text(title)});
  retried.push_back(earlier);
  if (prepared_.empty()) {
    ADD_FAILURE() << "nobody expected the question " << to_display_utf8(text);
    return platform::Answer::kCancel;
  }
  const Prepared next = std::move(prepared_.front());
  prepared_.pop_front();
  if (next.while_open) next.while_open();
  return next.answer;
}

void ScriptedMessageBox::inform(TextView text, TextView title) {
  notices.push_back({Text(text), Text(title)});
}

ScriptedMessageBox::Box locked_box() {
  return {u"Record is currently being updated by another process!", u"Record Lock Encountered"};
}

std::filesystem::path ScriptedHost::folder() {
  if (before_folder) before_folder();
  return payload_folder;
}

bool ScriptedHost::computer_name(std::span<char16_t> buffer) {
  if (!name) return false;
  const std::size_t size = std::min(name->size(), buffer.size());
  std::copy_n(name->begin(), size, buffer.begin());
  if (size < buffer.size()) buffer[size] = u'\0';
  return true;
}

void RecordingTrace::line(TextView text) {
  lines_.emplace_back(text);
  if (before_step) before_step(text);
}

std::vector<Text> RecordingTrace::take() { return std::exchange(lines_, {}); }

ServerProcess::ServerProcess(const EmbeddedDatabase& database)
    : login_{database.connection_string(), Text(EmbeddedDatabase::kRole),
             Text(EmbeddedDatabase::kPassword)},
      host(payload_folder_.path()),
      state(host, {&engine_}, &recorder),
      server(std::make_unique<Server>(state)) {}

ServerProcess::ServerProcess(ado::Engine& engine, Login login)
    : login_(std::move(login)),
      host(payload_folder_.path()),
      state(host, {&engine}, &recorder),
      server(std::make_unique<Server>(state)) {}

bool ServerProcess::connect() {
  const bool connected =
      server->set_connection(login_.connection_string, login_.role, login_.password);
  EXPECT_TRUE(connected) << to_display_utf8(message());
  if (connected) set_lock_timeout(0);
  (void)recorder.take();
  return connected;
}

void ServerProcess::set_lock_timeout(std::int32_t milliseconds) {
  state.connection->execute(join({u"SET LOCK_TIMEOUT ", decimal(milliseconds)}));
}

Text account(TextView component, TextView procedure, std::int32_t number, TextView description) {
  return join({u"\r\nError in Component: '", component, u"', Proceedure: '", procedure,
               u"'.\r\nError #:    \t", decimal(number), u"\r\nDescription:\t", description});
}

Text raised(TextView message, TextView component, TextView procedure) {
  return join({message, account(component, procedure, kRaised, message)});
}

}  // namespace tarnwick::test_support
