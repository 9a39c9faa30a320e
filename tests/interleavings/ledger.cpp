#include "tests/interleavings/ledger.h"

#include <algorithm>
#include <charconv>

namespace tarnwick::interleavings {
namespace {

using Kind = Command::Kind;
using Outcome = Answer::Outcome;

[[noreturn]] void broken(std::size_t process, const std::string& what) {
  throw BrokenPromise("process " + std::to_string(process) + ": " + what);
}

std::string name_of(int row) { return std::string("row ") + static_cast<char>('A' + row - 1); }

std::vector<std::string> split(std::string_view text, char between) {
  std::vector<std::string> parts;
  while (!text.empty()) {
    const auto end = std::min(text.find(between), text.size());
    parts.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return parts;
}

template <class Container, class Value>
bool contains(const Container& container, const Value& value) {
  return std::find(container.begin(), container.end(), value) != container.end();
}

}  // namespace

Values parse_values(std::string_view text) {
  Values values;
  for (const auto& part : split(text, ';')) values[part.at(0) - '0'] = part.substr(2);
  return values;
}

Ledger::Ledger(const std::vector<Script>& scripts) : actors_(scripts.size()) {
  for (std::size_t i = 0; i < scripts.size(); ++i) actors_[i].script = &scripts[i];
}

bool Ledger::holds_any(const Actor& actor) const {
  return actor.in_transaction || std::any_of(actor.holds.begin(), actor.holds.end(),
                                             [](const Hold& hold) { return hold.told; });
}

bool Ledger::is_about(const Actor& actor, int row) const {
  return actor.command && contains(rows_of(command_of(actor)), row);
}

void Ledger::open_transaction(std::size_t process, State state) {
  actors_[process].transaction = transactions_.size();
  transactions_.push_back({.actor = process, .state = state, .told = 0, .writes = {}});
}

void Ledger::note_possible(Actor& actor) {
  for (std::size_t row = 1; row < actor.holds.size(); ++row) {
    Hold& hold = actor.holds[row];
    if (hold.told || is_about(actor, static_cast<int>(row))) hold.possible = now_;
  }
}

void Ledger::let_go(Actor& actor) {
  for (Hold& hold : actor.holds) hold.told = false;
}

void Ledger::begins(std::size_t process, std::size_t command) {
  ++now_;
  Actor& actor = actors_[process];
  actor.command = command;
  actor.begun = now_;
  actor.busy_others = false;
  for (std::size_t other = 0; other < actors_.size(); ++other) {
    if (other == process) continue;
    // A command of theirs that goes on may be in the way, as ours may be in theirs.
    const Actor& theirs = actors_[other];
    actor.busy_others = actor.busy_others || theirs.command || holds_any(theirs);
    actors_[other].busy_others = true;
  }
  const Command& what = command_of(actor);
  switch (what.kind) {
    case Kind::kBegin:
    case Kind::kLoad:
      actor.in_transaction = true;
      open_transaction(process, State::kOpen);
      break;
    case Kind::kAppend:
    case Kind::kAdd:
    case Kind::kAddBoth:
    case Kind::kInsert:
    case Kind::kDelete:
      if (actor.in_transaction) break;
      open_transaction(process, State::kEnding);
      transactions_.back().writes = writes_of(process);
      break;
    case Kind::kCommit:
      transactions_[*actor.transaction].state = State::kEnding;
      note_possible(actor);
      let_go(actor);
      break;
    case Kind::kRollback:
    case Kind::kRelease:
    case Kind::kClose:
      note_possible(actor);
      let_go(actor);
      break;
    default:
      break;
  }
}

void Ledger::finish(Actor& actor, State state) {
  if (!actor.transaction) return;
  Transaction& transaction = transactions_[*actor.transaction];
  transaction.state = state;
  transaction.told = now_;
  actor.transaction.reset();
  actor.in_transaction = false;
}

void Ledger::note_hold(std::size_t process, int row) {
  for (std::size_t other = 0; other < actors_.size(); ++other) {
    if (other != process && actors_[other].holds[static_cast<std::size_t>(row)].told) {
      broken(process, name_of(row) + " is held by process " + std::to_string(other) + " too");
    }
  }
  Hold& hold = actors_[process].holds[static_cast<std::size_t>(row)];
  if (!hold.told) hold = {true, now_, now_};
}

std::vector<Ledger::Write> Ledger::writes_of(std::size_t process) const {
  const Actor& actor = actors_[process];
  const Command& command = command_of(actor);
  const auto what = command.kind == Kind::kDelete   ? Write::What::kDeleted
                    : command.kind == Kind::kInsert ? Write::What::kInserted
                                                    : Write::What::kAppended;
  std::vector<Write> writes;
  for (const int row : rows_of(command)) {
    writes.push_back({row, tag_of(process, *actor.command), what});
  }
  return writes;
}

void Ledger::note_writes(std::size_t process) {
  Actor& actor = actors_[process];
  for (const Write& write : writes_of(process)) {
    for (std::size_t other = 0; other < actors_.size(); ++other) {
      const Hold& hold = actors_[other].holds[static_cast<std::size_t>(write.row)];
      if (other != process && hold.told && hold.since <= actor.begun) {
        broken(process, name_of(write.row) + " was written while process " + std::to_string(other) +
                            " held it");
      }
    }
    if (!actor.in_transaction) continue;
    transactions_[*actor.transaction].writes.push_back(write);
    note_hold(process, write.row);
  }
  if (!actor.in_transaction) finish(actor, State::kCommitted);
}

void Ledger::check_refusal(std::size_t process, const Answer& answer) const {
  const Actor& actor = actors_[process];
  const Command& command = command_of(actor);
  const auto may_have = [&](Write::What what) {
    return std::any_of(transactions_.begin(), transactions_.end(), [&](const Transaction& each) {
      return std::any_of(each.writes.begin(), each.writes.end(), [&](const Write& write) {
        return write.what == what && write.row == command.row &&
               write.tag != tag_of(process, *actor.command);
      });
    });
  };
  switch (answer.outcome) {
    case Outcome::kNoRow:
    case Outcome::kTimeout:
      if (actor.busy_others) return;
      if (answer.outcome == Outcome::kNoRow) return check_absence(process, command.row);
      broken(process, "refused though nobody was in the way: " + describe(command));
    case Outcome::kDuplicate:
      if (command.kind == Kind::kInsert && may_have(Write::What::kInserted)) return;
      break;
    case Outcome::kNotLocated:
      if (may_have(Write::What::kDeleted) || command.row == kRows) return;
      break;
    default:
      break;
  }
  broken(process, describe(command) + " failed: " + answer.text);
}

void Ledger::told(std::size_t process, const Answer& answer) {
  ++now_;
  Actor& actor = actors_[process];
  const Command& what = command_of(actor);
  note_possible(actor);
  if (answer.outcome != Outcome::kDone) {
    check_refusal(process, answer);
    if (!actor.in_transaction) finish(actor, State::kUndone);
    if (what.kind == Kind::kCommit) transactions_[*actor.transaction].state = State::kOpen;
    actor.command.reset();
    return;
  }
  switch (what.kind) {
    case Kind::kHold:
      check_read(process, rows_of(what), parse_values(answer.text));
      note_hold(process, what.row);
      break;
    case Kind::kRead:
    case Kind::kReadBoth:
      check_read(process, rows_of(what), parse_values(answer.text));
      break;
    case Kind::kList:
      check_list(process, answer.text);
      break;
    case Kind::kAppend:
    case Kind::kAdd:
    case Kind::kAddBoth:
    case Kind::kInsert:
    case Kind::kDelete:
      note_writes(process);
      break;
    case Kind::kCommit:
      finish(actor, State::kCommitted);
      break;
    case Kind::kRollback:
      finish(actor, State::kUndone);
      break;
    default:
      break;
  }
  actor.command.reset();
}

void Ledger::killed(std::size_t process) {
  ++now_;
  Actor& actor = actors_[process];
  note_possible(actor);
  if (actor.transaction) {
    const State state = transactions_[*actor.transaction].state;
    finish(actor, state == State::kEnding ? State::kUnknown : State::kUndone);
  }
  let_go(actor);
  actor.command.reset();
  actor.ended = true;
}

void Ledger::check_value(std::size_t process, int row, const std::string& value) const {
  const Actor& reader = actors_[process];
  auto tags = split(value, ',');
  const auto refuse = [&](const std::string& what) {
    broken(process, name_of(row) + " reads '" + value + "': " + what);
  };
  if (row < kRows) {
    if (tags.empty() || tags.front() != kStart) refuse("its beginning is gone");
    tags.erase(tags.begin());
  }
  std::set<std::string> once;
  for (const auto& tag : tags) {
    if (!once.insert(tag).second) refuse(tag + " is there twice");
  }
  for (const Transaction& transaction : transactions_) {
    for (const Write& write : transaction.writes) {
      if (write.row != row) continue;
      const bool there = once.erase(write.tag) != 0;
      const bool own = transaction.actor == process && transaction.state == State::kOpen;
      const bool before =
          own || (transaction.state == State::kCommitted && transaction.told <= reader.begun);
      if (write.what == Write::What::kDeleted) {
        if (before) refuse("it was deleted before");
      } else if (before && !there) {
        refuse(write.tag + " was written before, and is missing");
      } else if (there && !own &&
                 (transaction.state == State::kOpen || transaction.state == State::kUndone)) {
        refuse(write.tag + " is not committed");
      }
    }
  }
  if (!once.empty()) refuse("nobody wrote " + *once.begin());
}

void Ledger::check_absence(std::size_t process, int row) const {
  const Actor& reader = actors_[process];
  bool deleted = false;
  bool inserted = false;
  for (const Transaction& transaction : transactions_) {
    const bool own = transaction.actor == process && transaction.state == State::kOpen;
    const bool before =
        own || (transaction.state == State::kCommitted && transaction.told <= reader.begun);
    const bool possible =
        own || (transaction.state != State::kOpen && transaction.state != State::kUndone);
    for (const Write& write : transaction.writes) {
      if (write.row != row) continue;
      deleted = deleted || (possible && write.what == Write::What::kDeleted);
      inserted = inserted || (before && write.what == Write::What::kInserted);
    }
  }
  if (!deleted && (row < kRows || inserted)) broken(process, name_of(row) + " is not there");
}

void Ledger::check_wholeness(const Values& values, std::optional<std::size_t> reader) const {
  for (const Transaction& transaction : transactions_) {
    if (transaction.actor == reader) continue;
    std::size_t there = 0;
    std::size_t possible = 0;
    for (const Write& write : transaction.writes) {
      const auto row = values.find(write.row);
      if (write.what != Write::What::kAppended || row == values.end()) continue;
      ++possible;
      if (contains(split(row->second, ','), write.tag)) ++there;
    }
    if (there != 0 && there != possible) {
      throw BrokenPromise("half of a transaction of process " + std::to_string(transaction.actor) +
                          " is there");
    }
  }
}

void Ledger::check_read(std::size_t process, const std::vector<int>& rows, const Values& values) {
  for (const int row : rows) {
    const auto found = values.find(row);
    if (found == values.end()) {
      check_absence(process, row);
    } else {
      check_value(process, row, found->second);
    }
  }
  check_wholeness(values, process);
  seen_.push_back({process, values});
}

void Ledger::check_list(std::size_t process, const std::string& text) const {
  const Actor& reader = actors_[process];
  const auto listed = split(text, ';');
  for (const auto& entry : listed) {
    const auto row = static_cast<std::size_t>(entry.at(0) - '0');
    long id = 0;
    std::from_chars(entry.data() + 2, entry.data() + entry.size(), id);
    const bool possible = std::any_of(actors_.begin(), actors_.end(), [&](const Actor& actor) {
      const Hold& hold = actor.holds[row];
      // Its last command, which gives the row back, may go on still.
      const bool ends = actor.command && hold.possible >= actor.begun;
      return actor.id == id && (hold.told || ends || is_about(actor, static_cast<int>(row)) ||
                                hold.possible >= reader.begun);
    });
    if (!possible) {
      broken(process, "the list says '" + entry + "', who did not hold that row meanwhile");
    }
  }
  for (std::size_t other = 0; other < actors_.size(); ++other) {
    for (std::size_t row = 1; row < reader.holds.size(); ++row) {
      const Hold& hold = actors_[other].holds[row];
      const std::string entry = std::to_string(row) + '@' + std::to_string(actors_[other].id);
      if (hold.told && hold.since <= reader.begun && !contains(listed, entry)) {
        broken(process, "the list says '" + text + "', and not that process " +
                            std::to_string(other) + " holds " + name_of(static_cast<int>(row)));
      }
    }
  }
}

void Ledger::compare(const Values& found) const {
  for (int row = 1; row <= kRows; ++row) {
    const auto value = found.find(row);
    std::vector<std::string> tags;
    if (value != found.end()) tags = split(value->second, ',');
    const auto refuse = [&](const std::string& what) {
      throw BrokenPromise("at the end " + name_of(row) + " " +
                          (value == found.end() ? "is gone" : "holds '" + value->second + "'") +
                          ": " + what);
    };
    if (value != found.end() && row < kRows && (tags.empty() || tags.front() != kStart)) {
      refuse("its beginning is gone");
    }
    bool deleted = false;
    bool inserted = row < kRows;
    std::set<std::string> known{std::string(kStart)};
    for (const Transaction& transaction : transactions_) {
      for (const Write& write : transaction.writes) {
        if (write.row != row) continue;
        const bool there = contains(tags, write.tag);
        const bool sure = transaction.state == State::kCommitted;
        const bool undone =
            transaction.state == State::kUndone || transaction.state == State::kOpen;
        if (write.what == Write::What::kDeleted) {
          if (sure && value != found.end()) refuse("it was deleted");
          deleted = deleted || !undone;
          continue;
        }
        if (write.what == Write::What::kInserted) inserted = inserted || sure;
        if (there && undone) refuse(write.tag + " was not committed");
        if (!there && sure && value != found.end()) refuse(write.tag + " is lost");
        known.insert(write.tag);
      }
    }
    if (value == found.end() && inserted && !deleted) refuse("nobody deleted it");
    for (const auto& tag : tags) {
      if (!known.contains(tag)) refuse("nobody wrote " + tag);
      if (std::count(tags.begin(), tags.end(), tag) != 1) refuse(tag + " is there twice");
    }
    // Whatever was read is how the row was at some time: the beginning of what came of it.
    for (const Seen& seen : seen_) {
      const auto read = seen.values.find(row);
      if (value == found.end() || read == seen.values.end()) continue;
      auto before = split(read->second, ',');
      std::erase_if(before, [&](const auto& tag) {
        return tag.starts_with(std::to_string(seen.actor) + '.') && !contains(tags, tag);
      });
      if (before.size() > tags.size() || !std::equal(before.begin(), before.end(), tags.begin())) {
        refuse("process " + std::to_string(seen.actor) + " had read '" + read->second + "'");
      }
    }
  }
  check_wholeness(found, std::nullopt);
}

}  // namespace tarnwick::interleavings
