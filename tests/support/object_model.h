#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "ado/trace.h"
#include "engines/sqlite/engine.h"
#include "platform/host.h"
#include "server/server.h"
#include "state/shared_state.h"
#include "tests/support/embedded_database.h"
#include "tests/support/temporary_folder.h"

namespace tarnwick::test_support {

/// The message boxes with their answers prepared. A question without one fails the test and is
/// answered by Cancel.
class ScriptedMessageBox final : public platform::MessageBox {
 public:
  struct Box {
    Text text;
    Text title;
    friend bool operator==(const Box&, const Box&) = default;
  };

  /// The next unanswered question gets `answer`; `while_open` runs before.
  void will_answer(platform::Answer answer, std::function<void()> while_open = {});

  [[nodiscard]] platform::Answer retry_or_cancel(TextView text, TextView title,
                                                 std::uint32_t) override;
  void inform(TextView text, TextView title) override;

  std::vector<Box> questions;
  std::vector<std::uint32_t> retried;  // what each question was told of its earlier answers
  std::vector<Box> notices;

 private:
  struct Prepared {
    platform::Answer answer;
    std::function<void()> while_open;
  };
  std::deque<Prepared> prepared_;
};

/// What the question of a locked row says.
[[nodiscard]] ScriptedMessageBox::Box locked_box();

/// An operating system to order: public members are what it answers.
class ScriptedHost : public platform::Host {
 public:
  /// 24 December 2023, 18:05:09.
  static constexpr Date kNow{45284.0 + 65109.0 / 86400.0};
  static constexpr TextView kNowText = u"12/24/2023 6:05:09 PM";

  explicit ScriptedHost(std::filesystem::path folder) : payload_folder(std::move(folder)) {}

  bool computer_name(std::span<char16_t> buffer) override;
  [[nodiscard]] std::optional<Text> module_file_name() override { return module; }
  [[nodiscard]] std::filesystem::path folder() override;
  [[nodiscard]] Date now() override { return time; }
  [[nodiscard]] platform::MessageBox& message_box() override { return box; }
  void stop_in_debugger() override { ++debugger_stops; }

  /// Written with a NUL behind it where it fits; nothing: the system fails.
  std::optional<Text> name = u"DESK-1";
  std::optional<Text> module;
  std::filesystem::path payload_folder;
  /// Called whenever the folder is asked for; may be empty.
  std::function<void()> before_folder;
  Date time = kNow;
  ScriptedMessageBox box;
  int debugger_stops = 0;
};

/// Keeps the lines of the trace.
class RecordingTrace final : public ado::Trace {
 public:
  void line(TextView text) override;

  /// The lines since the last call.
  [[nodiscard]] std::vector<Text> take();

  /// Called before every statement and transaction step, with its line; may be empty.
  std::function<void(TextView)> before_step;

 private:
  std::vector<Text> lines_;
};

/// A server process: its own shared state with one Server in it. Several on one database are as
/// good as several processes, as row locks belong to sessions.
class ServerProcess {
 public:
  /// What SetConnection is given.
  struct Login {
    Text connection_string;
    Text role;
    Text password;
  };

  explicit ServerProcess(const EmbeddedDatabase& database);
  /// On another engine, which must outlive the process.
  ServerProcess(ado::Engine& engine, Login login);

  [[nodiscard]] const Login& login() const { return login_; }
  /// Connects to the database in its role, and waits for no lock from then on. False, and a failed
  /// test, when that does not work.
  bool connect();

  /// Milliseconds. Loading a collection sets it to 2,000 again.
  void set_lock_timeout(std::int32_t milliseconds);

  [[nodiscard]] const Text& message() const { return state.errors.message(); }
  [[nodiscard]] std::int32_t number() const { return state.errors.number(); }
  /// The lines of the trace since the last call.
  [[nodiscard]] std::vector<Text> trace() { return recorder.take(); }

 private:
  Login login_;
  TemporaryFolder payload_folder_;
  sqlite::SqliteEngine engine_;

 public:
  ScriptedHost host;
  RecordingTrace recorder;
  SharedState state;
  std::unique_ptr<Server> server;
};

/// What a handler appends to the message.
[[nodiscard]] Text account(TextView component, TextView procedure, std::int32_t number,
                           TextView description);

/// The number of errors that the object model raises by itself.
inline constexpr std::int32_t kRaised = -2147221504;

/// A pending message and the account of its being raised.
[[nodiscard]] Text raised(TextView message, TextView component, TextView procedure);

}  // namespace tarnwick::test_support
