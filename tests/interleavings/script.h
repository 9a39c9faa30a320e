#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace tarnwick::interleavings {

/// Rows of the played database; the third is not there at the beginning.
inline constexpr int kRows = 3;
/// What the rows hold at the beginning. Every write of a process appends its tag.
inline constexpr std::string_view kStart = "start";

/// One call of a client of the engine.
struct Command {
  enum class Kind : std::uint8_t {
    kOpen,
    kClose,
    kBegin,
    kLoad,      // begins a transaction that loads in bulk
    kHold,      // reads a row and keeps it locked
    kAppend,    // to the row that is held: to the value that was read
    kAdd,       // the same by a statement
    kAddBoth,   // by one statement to the first two rows
    kInsert,    // a row, by a statement
    kDelete,    // by a statement
    kRead,      // one row, waiting for who maintains it
    kReadBoth,  // the first two rows, as they are committed
    kList,      // who holds which rows
    kCommit,
    kRollback,
    kRelease,  // what is held outside a transaction
  };
  Kind kind;
  int row = 0;  // from 1
};

/// What one process does, in this order.
using Script = std::vector<Command>;

/// Processes that play their scripts on one database at the same time.
struct Scenario {
  std::string name;
  std::vector<std::string_view> scripts;  // commands between commas
  int lock_timeout = -1;                  // in milliseconds; for ever
  /// Whether the sessions are there before the scripts begin; otherwise scripts open them.
  bool opened = true;
  /// Whether the processes stop at calls too that only read.
  bool fine = false;

  friend void PrintTo(const Scenario& scenario, std::ostream* out) { *out << scenario.name; }
};

[[nodiscard]] const std::vector<Scenario>& all_scenarios();
/// The same with finer steps, under names that end with "Fine".
[[nodiscard]] std::vector<Scenario> fine_scenarios();

/// Throws std::invalid_argument.
[[nodiscard]] Script parse_script(std::string_view text);

/// The rows that the command is about; none where it is about a transaction.
[[nodiscard]] std::vector<int> rows_of(const Command& command);

[[nodiscard]] std::string describe(const Command& command);

/// What the command of a process appends to the rows that it writes.
[[nodiscard]] std::string tag_of(std::size_t process, std::size_t command);

}  // namespace tarnwick::interleavings
