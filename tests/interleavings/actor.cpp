#include "tests/interleavings/actor.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>

#include "engines/sqlite/engine.h"
#include "engines/sqlite/row_key.h"
#include "tests/engines/sqlite/session_test.h"

namespace tarnwick::interleavings {
namespace {

using Kind = Command::Kind;
using Outcome = Answer::Outcome;
using test_support::EmbeddedDatabase;
using test_support::InterceptedCall;
using test_support::SystemCall;

// Row locks lie in the upper half of the offsets, those of the records of holders below.
constexpr std::int64_t kFirstRowLock = std::int64_t{1} << 62;
// Of SQLite's locks of the index of the write-ahead log, as its file format documents it.
constexpr std::int64_t kWriterLock = 120;

File file_by_name(std::string_view path, const std::string& folder) {
  if (!path.starts_with(folder)) return File::kOther;
  if (path.ends_with(".db")) return File::kDatabase;
  if (path.ends_with("-wal")) return File::kLog;
  if (path.ends_with("-shm")) return File::kIndex;
  return path.ends_with("-locks") ? File::kLocks : File::kOther;
}

File file_of(const InterceptedCall& call, const std::string& folder) {
  if (call.name != nullptr) return file_by_name(call.name, folder);
  if (call.file < 0) return File::kOther;
  std::array<char, 512> path{};
  const auto link = "/proc/self/fd/" + std::to_string(call.file);
  const auto size = ::readlink(link.c_str(), path.data(), path.size());
  if (size <= 0) return File::kOther;
  const std::string_view name(path.data(), static_cast<std::size_t>(size));
  const File file = file_by_name(name, folder);
  if (file != File::kOther || !name.starts_with(folder)) return file;
  // The lock file gets its name when it has been opened already: the system knows it without one.
  struct stat opened {};
  struct stat named {};
  const bool same = ::fstat(call.file, &opened) == 0 &&
                    ::stat((folder + "Velmar_Sec.db-locks").c_str(), &named) == 0 &&
                    opened.st_ino == named.st_ino;
  return same ? File::kLocks : File::kOther;
}

/// Whether what others do can depend on which of them makes this call first.
bool is_seen_by_others(SystemCall call) {
  switch (call) {
    case SystemCall::kStatus:
    case SystemCall::kRead:
    case SystemCall::kMap:
    case SystemCall::kSync:
      return false;
    default:
      return true;
  }
}

class Actor final {
 public:
  Actor(const Role& role, int socket)
      : role_(role), socket_(socket), folder_(role.folder.string() + '/') {
    present = this;
    test_support::stop_clock();
    if (role.opened) open();
  }

  void play() {
    test_support::intercept_calls([](const InterceptedCall& call) { return present->stop(call); });
    report({.what = Report::What::kReady});
    const std::size_t last = role_.script.size() - 1;
    for (std::size_t command = 0; command < last; ++command) {
      if (perform(command)) continue;
      if (in_transaction_) static_cast<void>(perform(last));
      break;
    }
    held_.clear();
    report({.what = Report::What::kEnd});
  }

 private:
  static Actor* present;

  /// Says it, and returns when this process may go on.
  Order report(const Report& report) {
    say(report);
    Order order{};
    if (::recv(socket_, &order, sizeof order, 0) != sizeof order) std::_Exit(EXIT_SUCCESS);
    return order;
  }
  void say(const Report& report) const {
    if (::send(socket_, &report, sizeof report, MSG_NOSIGNAL) != sizeof report) {
      std::_Exit(EXIT_SUCCESS);
    }
  }

  int stop(const InterceptedCall& call) {
    if (call.kind == SystemCall::kSleep) {
      report({.what = Report::What::kWait});
      return test_support::kPassOver;
    }
    const File file = file_of(call, folder_);
    if (file == File::kOther || (!role_.fine && !is_seen_by_others(call.kind))) {
      return call.kind == SystemCall::kSync ? test_support::kPassOver : test_support::kGoOn;
    }
    // To look for the lock of a row is a step, other commands to a descriptor are none.
    if (call.kind == SystemCall::kLookForLock && call.offset < 0) return test_support::kGoOn;
    const Order order = report({.what = Report::What::kCall,
                                .call = call.kind,
                                .file = file,
                                .shared = call.shared,
                                .offset = call.offset,
                                .size = call.size});
    if (order == Order::kDieHalfWay) {
      if (call.bytes != nullptr) {
        static_cast<void>(
            ::pwrite(call.file, call.bytes, static_cast<std::size_t>(call.size) / 2, call.offset));
      }
      ::raise(SIGKILL);
    }
    return call.kind == SystemCall::kSync ? test_support::kPassOver : defective_answer(call, file);
  }

  int defective_answer(const InterceptedCall& call, File file) {
    const bool locks = call.kind == SystemCall::kLock;
    const bool row = file == File::kLocks && call.offset >= kFirstRowLock;
    switch (role_.defect) {
      case Defect::kRowLockTakesNothing:
        if (locks && row) return test_support::kPassOver;
        break;
      case Defect::kRecordLockTakesNothing:
        if (locks && file == File::kLocks && !row) return test_support::kPassOver;
        break;
      case Defect::kRowStaysLocked:
        if (call.kind == SystemCall::kUnlock && row) return test_support::kPassOver;
        break;
      case Defect::kRowUnlockedTooEarly:
        if (locks && row) row_lock_ = call;
        if (call.kind == SystemCall::kWrite && file == File::kLog && row_lock_) {
          struct flock lock {};
          lock.l_type = F_UNLCK;
          lock.l_start = row_lock_->offset;
          lock.l_len = row_lock_->size;
          ::fcntl(row_lock_->file, F_OFD_SETLK, &lock);
          row_lock_.reset();
        }
        break;
      case Defect::kFileLockTakesNothing:
        if (locks && file == File::kIndex && call.offset == kWriterLock) {
          return test_support::kPassOver;
        }
        break;
      case Defect::kNone:
        break;
    }
    return test_support::kGoOn;
  }

  void open() {
    session_ = engine_.connect(ado::ConnectionString::parse(
        join({u"Provider=Tarnwick.Embedded;Data Source=", from_utf8(role_.folder.string())})));
    session_->set_default_database(EmbeddedDatabase::kName);
    session_->execute(join({u"EXEC sp_setapprole '", EmbeddedDatabase::kRole, u"','",
                            EmbeddedDatabase::kPassword, u"'"}));
    session_->execute(join({u"SET LOCK_TIMEOUT ", decimal(role_.lock_timeout)}));
  }

  /// Whether it went well.
  bool perform(std::size_t command) {
    Report told{.what = Report::What::kTold, .command = command};
    Answer answer;
    try {
      answer = do_command(role_.script[command], tag_of(role_.number, command));
    } catch (const ado::ConnectionLost& error) {
      answer = {Outcome::kLost, to_display_utf8(error.description())};
    } catch (const ado::AdoError& error) {
      answer = {outcome_of(error), to_display_utf8(error.description())};
    }
    told.outcome = answer.outcome;
    answer.text.resize(std::min(answer.text.size(), Report::kLongestText));
    std::copy(answer.text.begin(), answer.text.end(), told.text);
    say(told);
    return answer.outcome == Outcome::kDone;
  }

  static Outcome outcome_of(const ado::AdoError& error) {
    using ado::AdoErrorNumber;
    if (error.native() == ado::kNativeLockTimeout) return Outcome::kTimeout;
    switch (static_cast<AdoErrorNumber>(error.number())) {
      case AdoErrorNumber::kIntegrityViolation:
        return Outcome::kDuplicate;
      case AdoErrorNumber::kRowNotLocated:
        return Outcome::kNotLocated;
      default:
        return Outcome::kError;
    }
  }

  static Text row_number(int row) { return Text(decimal(row)); }
  static Text query_of(int row) {
    return join({u"Select * From DW_SEC_COMP Where CompID = ", row_number(row)});
  }

  static std::string values_in(const sqlite::Fetched& fetched) {
    std::string text;
    for (std::size_t row = 0; row < fetched.size(); ++row) {
      if (row > 0) text += ';';
      const auto cells = fetched.cells(row);
      text += sqlite::key_text(std::span(cells).subspan(fetched.column(u"CompID"), 1)) + '=' +
              std::string(cells[fetched.column(u"CompName")].view());
    }
    return text;
  }

  Answer do_command(const Command& command, const std::string& tag) {
    switch (command.kind) {
      case Kind::kOpen:
        open();
        return {};
      case Kind::kClose:
        held_.clear();
        session_.reset();
        return {};
      case Kind::kBegin:
        session_->begin();
        in_transaction_ = true;
        return {};
      case Kind::kLoad:
        session_->begin_load();
        in_transaction_ = true;
        return {};
      case Kind::kCommit:
        session_->commit();
        held_.clear();
        in_transaction_ = false;
        return {};
      case Kind::kRollback:
        held_.clear();
        session_->rollback();
        in_transaction_ = false;
        return {};
      case Kind::kRelease:
        held_.clear();
        return {};
      case Kind::kHold: {
        auto held = sqlite::hold(*session_, query_of(command.row));
        if (held.size() == 0) return {Outcome::kNoRow, "no row"};
        Answer answer{Outcome::kDone, values_in(held)};
        held_[command.row] = std::move(held);
        return answer;
      }
      case Kind::kAppend: {
        const auto& held = held_.at(command.row);
        const auto value = std::get<Text>(held.value(u"CompName"));
        held.update({{u"CompName", join({value, u",", from_utf8(tag)})}});
        return {};
      }
      case Kind::kAdd:
        return execute({u"Update DW_SEC_COMP Set CompName = CompName || ',", from_utf8(tag),
                        u"' Where CompID = ", row_number(command.row)});
      case Kind::kAddBoth:
        return execute({u"Update DW_SEC_COMP Set CompName = CompName || ',", from_utf8(tag),
                        u"' Where CompID < 3"});
      case Kind::kDelete:
        return execute({u"Delete From DW_SEC_COMP Where CompID = ", row_number(command.row)});
      case Kind::kInsert:
        return execute({u"Insert Into DW_SEC_COMP (CompID, CompName, ForceDisplay, MaintType)",
                        u" Values (", row_number(command.row), u", '", from_utf8(tag),
                        u"', 0, 2)"});
      case Kind::kRead:
        return {Outcome::kDone, values_in(sqlite::read(*session_, query_of(command.row)))};
      case Kind::kReadBoth:
        return {Outcome::kDone,
                values_in(sqlite::fetch(
                    *session_,
                    {.statement = u"Select * From DW_SEC_COMP Where CompID < 3 Order By CompID",
                     .location = ado::CursorLocation::kClient,
                     .held_rows = ado::HeldRowReading::kAsCommitted},
                    sqlite::kAll))};
      case Kind::kList: {
        Answer answer;
        for (const auto& held : session_->held_rows()) {
          answer.text += (answer.text.empty() ? "" : ";") + to_display_utf8(held.key) + '@' +
                         std::to_string(held.process_id.value_or(0));
        }
        return answer;
      }
    }
    return {};
  }

  Answer execute(std::initializer_list<TextView> parts) {
    session_->execute(join(parts));
    return {};
  }

  const Role& role_;
  int socket_;
  std::string folder_;
  sqlite::SqliteEngine engine_;
  std::unique_ptr<ado::EngineSession> session_;
  std::map<int, sqlite::Fetched> held_;
  bool in_transaction_ = false;
  std::optional<InterceptedCall> row_lock_;
};

Actor* Actor::present = nullptr;

}  // namespace

void act(const Role& role, int socket) { Actor(role, socket).play(); }

std::string describe(const Report& call) {
  constexpr std::string_view kCalls[] = {"opens",
                                         "looks at",
                                         "reads",
                                         "writes",
                                         "resizes",
                                         "syncs",
                                         "maps",
                                         "names or removes",
                                         "locks",
                                         "unlocks",
                                         "looks for a lock in",
                                         "sleeps"};
  constexpr std::string_view kFiles[] = {"the database", "the write-ahead log",
                                         "the index of the log", "the lock file", "another file"};
  std::string text;
  text.append(kCalls[static_cast<std::size_t>(call.call)]).append(" ");
  text.append(kFiles[static_cast<std::size_t>(call.file)]);
  if (call.file == File::kLocks && call.offset >= kFirstRowLock) {
    text += ": a row";
  } else if (call.offset >= 0) {
    text += ": " + std::to_string(call.size) + " at " + std::to_string(call.offset);
  }
  if (call.shared) text += ", shared";
  return text;
}

}  // namespace tarnwick::interleavings
