#include "tests/interleavings/order.h"

#include <poll.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <functional>

#include "runtime/descriptor_linux.h"
#include "tests/engines/sqlite/locked_rows.h"
#include "tests/engines/sqlite/session_test.h"

namespace tarnwick::interleavings {
namespace {

using test_support::EmbeddedDatabase;
using test_support::SystemCall;
using What = Report::What;

/// In a call of which nobody knows the end; far more than any takes.
constexpr int kStuck = 60'000;
constexpr std::size_t kMostSteps = 3'000;
/// So often in a row a process may wait without any command coming to an end. A time-out of some
/// milliseconds is over long before.
constexpr std::size_t kMostWaits = 60;

/// Keeps the present process, and those that it makes, on one processor while it lives: they take
/// their steps in turn, and hand over faster so.
class OneProcessor final {
 public:
  OneProcessor() {
    ::sched_getaffinity(0, sizeof before_, &before_);
    cpu_set_t here;
    CPU_ZERO(&here);
    CPU_SET(static_cast<std::size_t>(::sched_getcpu()), &here);
    ::sched_setaffinity(0, sizeof here, &here);
  }
  ~OneProcessor() { ::sched_setaffinity(0, sizeof before_, &before_); }
  OneProcessor(const OneProcessor&) = delete;
  OneProcessor& operator=(const OneProcessor&) = delete;

 private:
  cpu_set_t before_{};
};

class Process final {
 public:
  explicit Process(const Role& role) : role_(role) {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
      throw std::runtime_error("socketpair");
    }
    socket_ = Descriptor(ends[0]);
    Descriptor theirs(ends[1]);
    id_ = ::fork();
    if (id_ < 0) throw std::runtime_error("fork");
    if (id_ != 0) return;
    socket_.close();
    try {
      act(role_, theirs.get());
    } catch (const std::exception& error) {
      std::fprintf(stderr, "process %zu: %s\n", role_.number, error.what());
      std::_Exit(EXIT_FAILURE);
    }
    std::_Exit(EXIT_SUCCESS);
  }
  ~Process() { end(); }
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  [[nodiscard]] pid_t id() const { return id_; }
  [[nodiscard]] const Script& script() const { return role_.script; }

  void go_on(Order order = Order::kGoOn) {
    if (::send(socket_.get(), &order, sizeof order, MSG_NOSIGNAL) != sizeof order) {
      throw BrokenPromise("process " + std::to_string(role_.number) + " has ended by itself");
    }
  }

  Report next_report() {
    pollfd ready{socket_.get(), POLLIN, 0};
    if (::poll(&ready, 1, kStuck) == 0) {
      throw BrokenPromise("process " + std::to_string(role_.number) + " does not come back");
    }
    Report report;
    if (::recv(socket_.get(), &report, sizeof report, 0) != sizeof report) {
      throw BrokenPromise("process " + std::to_string(role_.number) + " has ended by itself");
    }
    return report;
  }

  /// It is gone when this returns.
  void kill() {
    if (id_ < 0) return;
    ::kill(id_, SIGKILL);
    ::waitpid(std::exchange(id_, -1), nullptr, 0);
  }
  void end() { kill(); }
  void wait_for_death() { ::waitpid(std::exchange(id_, -1), nullptr, 0); }

  enum class State : std::uint8_t { kAtCall, kWaiting, kEnded, kDead };
  State state = State::kAtCall;
  Report at;
  bool in_command = false;
  std::size_t command = 0;
  std::size_t seen = 0;  // steps of others when it began to wait

 private:
  const Role role_;
  Descriptor socket_;
  pid_t id_ = -1;
};

/// One run.
class Run final {
 public:
  Run(const std::filesystem::path& file, const Scenario& scenario, Choices& choices, Defect defect)
      : file_(file), choices_(choices), scripts_(scripts_of(scenario)), ledger_(scripts_) {
    for (std::size_t number = 0; number < scripts_.size(); ++number) {
      processes_.push_back(std::make_unique<Process>(Role{.folder = file.parent_path(),
                                                          .script = scripts_[number],
                                                          .number = number,
                                                          .lock_timeout = scenario.lock_timeout,
                                                          .opened = scenario.opened,
                                                          .defect = defect,
                                                          .fine = scenario.fine}));
      ledger_.set_process_id(number, processes_.back()->id());
      processes_.back()->at = processes_.back()->next_report();
    }
  }

  Result play() {
    Result outcome;
    try {
      while (take_turn()) {
        if (++steps_ > kMostSteps) throw BrokenPromise("it does not come to an end");
      }
      look_at_the_end();
    } catch (const BrokenPromise& promise) {
      outcome.broken = promise.what();
    }
    outcome.account = account();
    outcome.steps = steps_;
    return outcome;
  }

 private:
  enum class Action : std::uint8_t { kStep, kKill, kKillHalfWay };
  struct Option {
    std::size_t process;
    Action action;
  };
  struct Event {
    std::size_t process;
    Action action;
    Report report;  // what it was about to do, or has been told
  };

  static std::vector<Script> scripts_of(const Scenario& scenario) {
    std::vector<Script> scripts;
    for (const auto text : scenario.scripts) {
      scripts.push_back(parse_script(text));
      scripts.back().push_back({Command::Kind::kRollback});
    }
    return scripts;
  }

  [[nodiscard]] bool is_there(std::size_t process) const {
    const auto state = processes_[process]->state;
    return state == Process::State::kAtCall || state == Process::State::kWaiting;
  }

  /// Whether it may find anything else than when it took its last step.
  [[nodiscard]] bool can_run(std::size_t process) const {
    const Process& each = *processes_[process];
    return each.state == Process::State::kAtCall ||
           (each.state == Process::State::kWaiting && each.seen != steps_of_others(process));
  }
  [[nodiscard]] std::size_t steps_of_others(std::size_t process) const {
    return calls_ - calls_of_[process];
  }

  /// Whether the death of the process whose turn it is would leave something else behind than its
  /// death before its last step: that did more than take or give back a lock, or others have looked
  /// since, or a command has come to its end. Behind its exclusive locks SQLite writes to memory
  /// that is shared.
  [[nodiscard]] bool would_leave_something_new(const Process& process) const {
    if (events_.empty() || events_.back().process != current_) return true;
    const Report& last = events_.back().report;
    if (last.what != What::kCall) return true;
    const bool locks = last.call == SystemCall::kLock || last.call == SystemCall::kUnlock ||
                       last.call == SystemCall::kLookForLock;
    const bool own = last.file == File::kLocks;
    return !locks || (!own && last.call == SystemCall::kLock && !last.shared) ||
           process.at.what != What::kCall;
  }

  [[nodiscard]] std::vector<Option> options() const {
    std::vector<Option> options;
    const auto add = [&](std::size_t process) { options.push_back({process, Action::kStep}); };
    const Process& present = *processes_[current_];
    if (present.state == Process::State::kAtCall) add(current_);
    // In turn; who waits comes behind those who need not, unless all of them wait.
    for (const bool waiting : {false, true}) {
      for (std::size_t i = 1; i <= processes_.size(); ++i) {
        const std::size_t process = (current_ + i) % processes_.size();
        const bool waits = processes_[process]->state == Process::State::kWaiting;
        if (process == current_ && !waits) continue;
        if (is_there(process) && waits == waiting && can_run(process)) add(process);
      }
    }
    if (options.empty()) {
      for (std::size_t i = 1; i <= processes_.size() && options.empty(); ++i) {
        const std::size_t process = (current_ + i) % processes_.size();
        if (is_there(process)) add(process);
      }
    }
    if (!killed_ && is_there(current_) && would_leave_something_new(present)) {
      options.push_back({current_, Action::kKill});
      if (present.state == Process::State::kAtCall && present.at.what == What::kCall &&
          present.at.call == SystemCall::kWrite && present.at.size > 1) {
        options.push_back({current_, Action::kKillHalfWay});
      }
    }
    return options;
  }

  bool take_turn() {
    const auto open = options();
    if (open.empty()) return false;
    const Option option = open[choices_.choose(open.size())];
    current_ = option.process;
    Process& process = *processes_[current_];
    events_.push_back({current_, option.action, process.at});
    if (option.action != Action::kStep) {
      kill(process, option.action);
    } else {
      step(process);
    }
    return true;
  }

  void kill(Process& process, Action action) {
    killed_ = true;
    begin_command(process);
    if (action == Action::kKillHalfWay) {
      process.go_on(Order::kDieHalfWay);
      process.wait_for_death();
    } else {
      process.kill();
    }
    process.state = Process::State::kDead;
    ++calls_;  // others may find its locks free
    ledger_.killed(current_);
  }

  void begin_command(Process& process) {
    if (process.in_command || process.at.what == What::kReady) return;
    ledger_.begins(current_, process.command);
    process.in_command = true;
  }

  void step(Process& process) {
    begin_command(process);
    if (process.at.what != What::kWait) {
      ++calls_;
      ++calls_of_[current_];
    }
    process.go_on();
    for (;;) {
      process.at = process.next_report();
      if (process.at.what != What::kTold) break;
      note_answer(process);
    }
    switch (process.at.what) {
      case What::kEnd:
        process.state = Process::State::kEnded;
        break;
      case What::kWait:
        process.state = Process::State::kWaiting;
        process.seen = steps_of_others(current_);
        if (++waits_ > kMostWaits * processes_.size()) {
          throw BrokenPromise("everybody waits for somebody else");
        }
        break;
      default:
        process.state = Process::State::kAtCall;
        break;
    }
  }

  /// A command without any call begins and ends between two stops.
  void note_answer(Process& process) {
    events_.push_back({current_, Action::kStep, process.at});
    process.command = process.at.command;
    if (!process.in_command) ledger_.begins(current_, process.command);
    process.in_command = false;
    waits_ = 0;
    const bool failed = process.at.outcome != Answer::Outcome::kDone;
    ledger_.told(current_, {process.at.outcome, process.at.text});
    process.command = failed ? process.script().size() - 1 : process.command + 1;
  }

  void look_at_the_end() {
    const std::filesystem::path locks = file_.string() + "-locks";
    struct stat database {};
    struct stat lock_file {};
    if (::stat(file_.c_str(), &database) != 0) throw BrokenPromise("the database is gone");
    if (::stat(locks.c_str(), &lock_file) == 0) {
      if (sqlite::any_row_locked(file_)) {
        throw BrokenPromise("a lock stays when all have come to their ends");
      }
      if (database.st_mode != lock_file.st_mode) {
        throw BrokenPromise("not everybody who may write the database may lock its rows");
      }
    }
    processes_.clear();
    try {
      // No lock was there: that it can be had is in doubt only where a process was killed.
      if (killed_) lock_all_rows();
    } catch (const ado::AdoError& error) {
      throw BrokenPromise("who comes afterwards fails: " + to_display_utf8(error.description()));
    }
    test_support::PlainSqlite plain(file_);
    Values found;
    for (const auto& row : plain.run("SELECT CompID, CompName FROM DW_SEC_COMP")) {
      found[std::stoi(row.at(0))] = row.at(1);
    }
    ledger_.compare(found);
    if (plain.run("PRAGMA integrity_check") != test_support::PlainSqlite::Rows{{"ok"}}) {
      throw BrokenPromise("the database is damaged");
    }
  }

  /// As somebody who comes when all are gone, and waits for nobody.
  void lock_all_rows() const {
    sqlite::SqliteEngine engine;
    const auto session = engine.connect(ado::ConnectionString::parse(join(
        {u"Provider=Tarnwick.Embedded;Data Source=", from_utf8(file_.parent_path().string())})));
    session->set_default_database(EmbeddedDatabase::kName);
    session->execute(join({u"EXEC sp_setapprole '", EmbeddedDatabase::kRole, u"','",
                           EmbeddedDatabase::kPassword, u"'"}));
    session->execute(u"SET LOCK_TIMEOUT 0");
    session->begin();
    const std::size_t locked =
        sqlite::hold(*session, u"Select CompID From DW_SEC_COMP", sqlite::kAll).size();
    const auto there = sqlite::read(*session, u"Select CompID From DW_SEC_COMP").size();
    if (locked != there) throw BrokenPromise("a row cannot be locked any more");
    session->rollback();
  }

  [[nodiscard]] std::vector<std::string> account() const {
    std::vector<std::string> lines;
    for (const Event& event : events_) {
      std::string line = "process " + std::to_string(event.process) + ": ";
      if (event.action == Action::kKill) line += "is killed before it ";
      if (event.action == Action::kKillHalfWay) line += "is killed while it ";
      switch (event.report.what) {
        case What::kReady:
          line += "begins";
          break;
        case What::kCall:
          line += describe(event.report);
          break;
        case What::kWait:
          line += "waits";
          break;
        case What::kTold:
          line += "-> " + describe(scripts_[event.process][event.report.command]) + ": ";
          line += event.report.outcome == Answer::Outcome::kDone ? "done" : "not done";
          if (event.report.text[0] != '\0') line += std::string(", ") + event.report.text;
          break;
        case What::kEnd:
          line += "ends";
          break;
      }
      lines.push_back(std::move(line));
    }
    return lines;
  }

  std::filesystem::path file_;
  Choices& choices_;
  std::vector<Script> scripts_;
  Ledger ledger_;
  std::vector<std::unique_ptr<Process>> processes_;
  std::vector<Event> events_;
  std::size_t current_ = 0;
  std::size_t steps_ = 0;
  std::size_t calls_ = 0;  // of all processes
  std::array<std::size_t, 8> calls_of_{};
  std::size_t waits_ = 0;  // since a command came to its end
  bool killed_ = false;
};

/// In memory where the system has such a place.
std::filesystem::path fast_folder() {
  const std::filesystem::path memory = "/dev/shm";
  return ::access(memory.c_str(), W_OK) == 0 ? memory : std::filesystem::temp_directory_path();
}

std::string content_of(const std::filesystem::path& path) {
  std::string content(std::filesystem::file_size(path), '\0');
  std::ifstream(path, std::ios::binary)
      .read(content.data(), static_cast<std::streamsize>(content.size()));
  return content;
}

}  // namespace

Playground::Playground()
    : folder_(std::make_unique<test_support::TemporaryFolder>(fast_folder())),
      file_(folder_->path() / "Velmar_Sec.db") {
  const EmbeddedDatabase database;
  database.run(
      "INSERT INTO DW_SEC_COMP (CompID, CompName, ForceDisplay, MaintType)"
      "  VALUES (1, 'start', 0, 2), (2, 'start', 0, 2)");
  untouched_ = content_of(database.file());
  database.run("PRAGMA journal_mode=WAL");
  fresh_ = content_of(database.file());
}

void Playground::reset() const {
  for (const auto& entry : std::filesystem::directory_iterator(folder_->path())) {
    std::filesystem::remove(entry.path());
  }
}

Result Playground::play(const Scenario& scenario, Choices& choices, Defect defect) {
  const OneProcessor here;
  reset();
  std::ofstream(file_, std::ios::binary) << (scenario.opened ? fresh_ : untouched_);
  std::filesystem::permissions(file_, std::filesystem::perms(0666));
  return Run(file_, scenario, choices, defect).play();
}

Search search(Playground& playground, const Scenario& scenario, std::size_t deviations,
              Defect defect, const std::string& from, const std::function<bool()>& may_go_on) {
  Choices choices(deviations, from);
  Search search;
  do {
    if (may_go_on && !may_go_on()) return search;
    search.at = choices.text();
    Result outcome = playground.play(scenario, choices, defect);
    ++search.orders;
    search.longest = std::max(search.longest, outcome.steps);
    if (choices.diverged() && search.orders == 1 && !from.empty()) {
      // An order of an earlier state of the program, which takes other steps.
      return interleavings::search(playground, scenario, deviations, defect, {}, may_go_on);
    }
    if (!outcome.broken && choices.diverged()) outcome.broken = "the same order went another way";
    if (outcome.broken) {
      search.at = choices.text();
      search.found = std::move(outcome);
      return search;
    }
  } while (choices.next());
  search.complete = true;
  return search;
}

std::string account_of(const Scenario& scenario, const std::string& order, const Result& outcome) {
  std::string text(scenario.name);
  text.append(" ").append(order).append(": ").append(outcome.broken.value_or("nothing broken"));
  for (const auto& line : outcome.account) text.append("\n  ").append(line);
  return text += '\n';
}

}  // namespace tarnwick::interleavings
