// A server process for tests. It obeys commands on its input, a line each, with tab stops between
// their words, and answers each by one line. Two things make it speak in between and wait for a
// line: the question about a locked row ("? ..."; "retry" is Retry, everything else Cancel), and a
// stop that was ordered before ("at ..."; any line lets it go on). Line breaks and tab stops inside
// an answer are written \r, \n and \t.

#include <cstdlib>
#include <deque>
#include <iostream>
#include <map>
#include <span>
#include <stdexcept>
#include <string>

#include "engines/sqlite/byte_range_locks.h"
#include "engines/sqlite/create_database.h"
#include "runtime/conversions.h"
#include "tests/processes/stopping_calls.h"
#include "tests/support/object_model.h"

namespace tarnwick::test_support {
namespace {

std::string escaped(TextView text) {
  std::string line;
  for (const char c : to_display_utf8(text)) {
    if (c == '\r') {
      line += "\\r";
    } else if (c == '\n') {
      line += "\\n";
    } else if (c == '\t') {
      line += "\\t";
    } else {
      line += c;
    }
  }
  return line;
}

void say(std::string_view line) { std::cout << line << std::endl; }

/// The next line; the process ends with its input.
std::string hear() {
  std::string line;
  if (!std::getline(std::cin, line)) std::_Exit(0);
  return line;
}

void stop_at(std::string_view what) {
  say("at " + std::string(what));
  (void)hear();
}

class AskingMessageBox final : public platform::MessageBox {
 public:
  platform::Answer retry_or_cancel(TextView text, TextView title, std::uint32_t) override {
    say("? " + escaped(title) + ": " + escaped(text));
    return hear() == "retry" ? platform::Answer::kRetry : platform::Answer::kCancel;
  }
  void inform(TextView text, TextView /*title*/) override { say("! " + escaped(text)); }
};

class WorkerHost final : public ScriptedHost {
 public:
  using ScriptedHost::ScriptedHost;
  platform::MessageBox& message_box() override { return asking_; }

 private:
  AskingMessageBox asking_;
};

using Words = std::deque<std::string>;

std::string next(Words& words) {
  if (words.empty()) throw std::runtime_error("a word is missing");
  std::string word = std::move(words.front());
  words.pop_front();
  return word;
}

Text next_text(Words& words) { return from_utf8(next(words)); }
int next_number(Words& words) { return std::stoi(next(words)); }

std::string truth(bool value) { return value ? "True" : "False"; }

class Worker {
 public:
  Worker(std::span<char*> arguments)
      : folder_(arguments[1]),
        host_(arguments[2]),
        state_(host_, {&engine_}, &trace_),
        server_(std::make_unique<Server>(state_)) {
    host_.name = from_utf8(arguments[3]);
  }

  std::string obey(Words words) {
    const std::string command = next(words);
    if (command == "process") return std::to_string(sqlite::ByteRangeLocks::process_id());
    if (command == "create database") return create_database();
    if (command == "connect") return connect(next_number(words));
    if (command == "lock timeout") return set_lock_timeout(next_number(words));
    if (command == "stop before step") return stop_before_step(next_number(words));
    if (command == "stop before call") return stop_at_call(next_number(words), false);
    if (command == "stop amid call") return stop_at_call(next_number(words), true);
    if (command == "message") return escaped(state_.errors.message());
    if (command == "held") return held();
    if (command == "load reports") return truth(server_->reports()->refresh());
    if (command == "load pcs") return truth(server_->registered_pcs()->refresh());
    if (command == "new report") return new_report(words);
    if (command == "insert reports") return insert_reports(words);
    if (command == "count logins") return count_logins(words);
    return on_report(command, words);
  }

 private:
  std::string create_database() {
    const std::u8string folder(folder_.begin(), folder_.end());
    sqlite::create_database(folder, u"Velmar_Sec", EmbeddedDatabase::kRole,
                            EmbeddedDatabase::kPassword);
    return "created";
  }

  std::string connect(int lock_timeout) {
    const bool connected = server_->set_connection(
        join({u"Provider=Tarnwick.Embedded;Data Source=", from_utf8(folder_)}),
        EmbeddedDatabase::kRole, EmbeddedDatabase::kPassword);
    if (connected) set_lock_timeout(lock_timeout);
    return truth(connected);
  }

  std::string set_lock_timeout(int milliseconds) {
    state_.connection->execute(join({u"SET LOCK_TIMEOUT ", decimal(milliseconds)}));
    return std::to_string(milliseconds);
  }

  std::string stop_before_step(int count) {
    trace_.before_step = [count](TextView line) mutable {
      if (--count == 0) stop_at(escaped(line));
    };
    return "ordered";
  }

  static std::string stop_at_call(int count, bool half) {
    stop_at_system_call(count, half, [] { stop_at("call"); });
    return "ordered";
  }

  std::string held() {
    std::string rows;
    for (const ado::HeldRow& row : state_.connection->held_rows()) {
      rows += "[" + escaped(row.table) + " " + escaped(row.key) + " " + escaped(row.stamp) + " " +
              std::to_string(row.process_id.value_or(0)) + "]";
    }
    return rows;
  }

  std::shared_ptr<Report> add_report(TextView name, TextView title) {
    NewReport values;
    values.report_name = name;
    values.title = title;
    return server_->reports()->add(values);
  }

  std::string new_report(Words& words) {
    const Text name = next_text(words);
    return truth(add_report(name, next_text(words)) != nullptr);
  }

  std::string insert_reports(Words& words) {
    const std::string prefix = next(words);
    const int count = next_number(words);
    for (int number = 1; number <= count; ++number) {
      const auto report = add_report(from_utf8(prefix + std::to_string(number)), u"");
      if (report == nullptr || report->update() != OK_ue) return escaped(state_.errors.message());
    }
    return "done";
  }

  std::string count_logins(Words& words) {
    const auto pc = server_->registered_pcs()->item(next_text(words));
    const int count = next_number(words);
    if (pc == nullptr) return "no such PC";
    for (int number = 0; number < count; ++number) {
      if (!pc->lock_record()) return "not locked: " + escaped(state_.errors.message());
      pc->set_total_logins(pc->total_logins() + 1);
      if (pc->update() != OK_ue) return escaped(state_.errors.message());
    }
    return "done";
  }

  std::string on_report(const std::string& command, Words& words) {
    const auto report = server_->reports()->item(next_text(words));
    if (report == nullptr) return "no such report";
    if (command == "lock") return truth(report->lock_record());
    if (command == "release") return truth(report->release_record());
    if (command == "locked") return truth(report->locked());
    if (command == "title") return escaped(report->title());
    if (command == "delete") return truth(report->remove());
    if (command == "change") return change(*report, next_text(words));
    if (command == "update") {
      const Text file = words.empty() ? Text() : next_text(words);
      return std::to_string(report->update(file));
    }
    throw std::runtime_error("unknown command " + command);
  }

  /// Every column that a client can change gets `value`, so that half a row shows.
  static std::string change(Report& report, const Text& value) {
    report.set_title(value);
    report.set_author(value);
    report.set_version(value);
    report.set_report_group_id(value);
    report.set_sql(value);
    report.set_ttx(value);
    report.set_description(value);
    report.set_definition(value);
    return "changed";
  }

  const std::string folder_;
  sqlite::SqliteEngine engine_;
  WorkerHost host_;
  RecordingTrace trace_;
  SharedState state_;
  std::unique_ptr<Server> server_;
};

Words words_of(const std::string& line) {
  Words words;
  std::size_t start = 0;
  for (std::size_t end; (end = line.find('\t', start)) != std::string::npos; start = end + 1) {
    words.push_back(line.substr(start, end - start));
  }
  words.push_back(line.substr(start));
  return words;
}

}  // namespace
}  // namespace tarnwick::test_support

int main(int count, char** arguments) {
  using namespace tarnwick::test_support;
  if (count != 4) {
    std::cerr << "usage: worker DATABASE-FOLDER PAYLOAD-FOLDER COMPUTER-NAME\n";
    return 2;
  }
  Worker worker(std::span(arguments, 4));
  for (;;) {
    try {
      say(worker.obey(words_of(hear())));
    } catch (const std::exception& error) {
      say(std::string("failed: ") + error.what());
    }
  }
}
