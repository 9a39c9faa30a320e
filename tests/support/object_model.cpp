#include "tests/support/object_model.h"

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <utility>

namespace tarnwick::test_support {
namespace {

std::string embedded_schema() {
  std::ifstream file(EMBEDDED_SCHEMA);
  file.exceptions(std::ios::failbit | std::ios::badbit);
  return {std::istreambuf_iterator<char>(file), {}};
}

// A salt and one iteration of PBKDF2: as much as has to be, so that connecting takes no time.
std::string role_row(TextView role, TextView password) {
  constexpr std::array<unsigned char, 4> kSalt{'s', 'a', 'l', 't'};
  std::array<unsigned char, 64> hash{};
  const std::string utf8 = to_utf8(password);
  if (PKCS5_PBKDF2_HMAC(utf8.data(), static_cast<int>(utf8.size()), kSalt.data(), kSalt.size(), 1,
                        EVP_sha512(), hash.size(), hash.data()) != 1) {
    throw std::runtime_error("no PBKDF2");
  }
  const std::string_view salt(reinterpret_cast<const char*>(kSalt.data()), kSalt.size());
  const std::string_view bytes(reinterpret_cast<const char*>(hash.data()), hash.size());
  return "INSERT INTO DW_APP_ROLE (RoleName, Salt, Iterations, Hash) VALUES ('" + to_utf8(role) +
         "', X'" + hexadecimal(salt) + "', 1, X'" + hexadecimal(bytes) + "');";
}

}  // namespace

void ScriptedMessageBox::will_answer(platform::Answer answer, std::function<void()> while_open) {
  prepared_.push_back({answer, std::move(while_open)});
}

platform::Answer ScriptedMessageBox::retry_or_cancel(TextView text, TextView title) {
  questions.push_back({Text(text), Text(title)});
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

EmbeddedDatabase::EmbeddedDatabase() {
  folder_.write("Velmar_Sec.db", "");
  run("PRAGMA synchronous = OFF; BEGIN;" + embedded_schema() + role_row(kRole, kPassword) +
      "COMMIT;");
}

Text EmbeddedDatabase::connection_string() const {
  return join({u"Provider=Tarnwick.Embedded;Data Source=", from_utf8(folder_.path().string())});
}

std::string EmbeddedDatabase::value(const std::string& sql) const {
  const PlainSqlite::Rows rows = run(sql);
  if (rows.empty() || rows.front().empty()) return "(no row)";
  return rows.front().front();
}

ServerProcess::ServerProcess(const EmbeddedDatabase& database)
    : database_(database),
      host(payload_folder_.path()),
      state(host, {&engine_}, &recorder),
      server(std::make_unique<Server>(state)) {}

bool ServerProcess::connect() {
  const bool connected = server->set_connection(
      database_.connection_string(), EmbeddedDatabase::kRole, EmbeddedDatabase::kPassword);
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
