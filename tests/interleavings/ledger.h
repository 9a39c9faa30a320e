#pragma once

#include <array>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/interleavings/script.h"

namespace tarnwick::interleavings {

/// A promise of the engine that was not kept.
struct BrokenPromise : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// How a command ended, as its process was told.
struct Answer {
  enum class Outcome : std::uint8_t {
    kDone,
    kNoRow,  // there is none, or it could not be locked in time
    kTimeout,
    kDuplicate,   // the row is there already
    kNotLocated,  // the row is no longer there
    kLost,        // nobody knows whether it was done
    kError,
  };
  Outcome outcome = Outcome::kDone;
  /// Of a read its rows, "1=start,0.2;2=start"; of a list "1@4711", each with its process.
  std::string text;
};

using Values = std::map<int, std::string>;
/// Rows and what they hold, from the text of an answer.
[[nodiscard]] Values parse_values(std::string_view text);

/// What the processes of a run have been told, and what follows from it. Knows nothing of the order
/// in which steps were taken inside of the commands. Throws BrokenPromise.
class Ledger {
 public:
  explicit Ledger(const std::vector<Script>& scripts);

  void set_process_id(std::size_t process, long id) { actors_[process].id = id; }
  void begins(std::size_t process, std::size_t command);
  void told(std::size_t process, const Answer& answer);
  void killed(std::size_t process);

  /// All have come to their end: what the database holds.
  void compare(const Values& found) const;

 private:
  enum class State : std::uint8_t { kOpen, kEnding, kCommitted, kUndone, kUnknown };
  struct Write {
    enum class What : std::uint8_t { kAppended, kInserted, kDeleted };
    int row;
    std::string tag;
    What what;
  };
  struct Transaction {
    std::size_t actor = 0;
    State state = State::kOpen;
    long told = 0;  // when its commit was told of
    std::vector<Write> writes;
  };
  struct Hold {
    bool told = false;
    long since = 0;
    long possible = -1;  // when the row may have been held the last time
  };
  struct Actor {
    long id = 0;
    const Script* script = nullptr;
    std::optional<std::size_t> command;  // that is carried out
    long begun = 0;
    bool busy_others = false;  // somebody else may have been in the way since then
    bool ended = false;
    std::optional<std::size_t> transaction;
    bool in_transaction = false;
    std::array<Hold, kRows + 1> holds{};
  };
  struct Seen {
    std::size_t actor;
    Values values;
  };

  [[nodiscard]] const Command& command_of(const Actor& actor) const {
    return (*actor.script)[*actor.command];
  }
  [[nodiscard]] bool is_about(const Actor& actor, int row) const;
  [[nodiscard]] bool holds_any(const Actor& actor) const;
  void open_transaction(std::size_t process, State state);
  void note_possible(Actor& actor);
  void let_go(Actor& actor);
  void note_hold(std::size_t process, int row);
  /// What the present command writes.
  [[nodiscard]] std::vector<Write> writes_of(std::size_t process) const;
  void note_writes(std::size_t process);
  void finish(Actor& actor, State state);
  void check_refusal(std::size_t process, const Answer& answer) const;
  void check_read(std::size_t process, const std::vector<int>& rows, const Values& values);
  void check_value(std::size_t process, int row, const std::string& value) const;
  void check_absence(std::size_t process, int row) const;
  void check_wholeness(const Values& values, std::optional<std::size_t> reader) const;
  void check_list(std::size_t process, const std::string& text) const;

  std::vector<Actor> actors_;
  std::vector<Transaction> transactions_;
  std::vector<Seen> seen_;
  long now_ = 0;
};

}  // namespace tarnwick::interleavings
