#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <fstream>
#include <iterator>
#include <memory>

#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/commands/value_options.h"
#include "apps/tarnwick/maintenance/cause.h"
#include "apps/tarnwick/maintenance/change_record.h"
#include "apps/tarnwick/maintenance/loading.h"
#include "apps/tarnwick/maintenance/maintenance.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/table.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/session/connect.h"

namespace tarnwick::cli {
namespace {

// What the commands on one report are given; each uses a part of it.
struct Arguments {
  std::string name;
  std::string new_name;
  std::string field;
  std::string file;
  std::string ttx_file;
  bool lock_first = false;
};

Row key(const std::string& name) {
  Row row = Row::of<Report>();
  row.set<Report, "Name">(text_argument(name));
  if (name.empty()) throw Failure(ExitCode::kUsage, "The name of the report is empty.");
  require_plain_key(row);
  return row;
}

/// The switches for a report's values, with files for the long ones.
class ReportValues final {
 public:
  explicit ReportValues(CLI::App& command) : values_(command, automation::ClassId::kReport) {
    command.add_option("--sql-file", sql_file_, "take the statement from this file (UTF-8)")
        ->type_name("FILE")
        ->excludes("--sql");
    command
        .add_option("--definition-file", definition_file_,
                    "take the definition from this file (UTF-8)")
        ->type_name("FILE")
        ->excludes("--definition");
  }

  [[nodiscard]] Row given() const {
    Row row = values_.given();
    if (!sql_file_.empty()) row.set<Report, "SQL">(text_in(sql_file_));
    if (!definition_file_.empty()) row.set<Report, "Definition">(text_in(definition_file_));
    return row;
  }

 private:
  static Text text_in(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(stream), {}};
    if (!stream.is_open() || stream.bad()) {
      throw Failure(ExitCode::kUsage, fmt::format("The file '{}' cannot be read.", file));
    }
    return text_argument(content);
  }

  ValueOptions values_;
  std::string sql_file_;
  std::string definition_file_;
};

void list_reports(const Options& options) {
  const auto session = connect(options);
  const Loaded loaded = load_reports(*session);
  list(options, loaded.rows,
       columns<Report, "Name", "Title", "ReportGroupID", "Version", "Author", "Created",
               "ReportType">(),
       columns<Report, "ImageIndex", "SQL", "TTX", "Description", "MaintenanceType", "Definition",
               "SoftLock", "RowVersion">());
  require_complete(loaded);
}

void show_report(const Options& options, const Arguments& arguments) {
  const Row report = key(arguments.name);
  const auto session = connect(options);
  show(options, stored_row(*session, report), arguments.field);
}

std::string shown(const Row& report) {
  return printable(to_display_utf8(report.get<Report, "Name">()));
}

// Of a file that a report's method could not handle.
Failure file_failure(const Session& session, const Row& report) {
  return failure_of(session.last_cause(),
                    fmt::format("{}: the file was not handled", describe(report)),
                    session.last_error_msg());
}

void add_report(const Options& options, const Arguments& arguments, const ReportValues& values) {
  const Row report = key(arguments.name);
  const Row given = values.given();
  const Text file = arguments.file.empty() ? Text() : file_argument(arguments.file);
  const auto session = connect(options);
  const auto import_ttx = [&](const Record& record) {
    if (arguments.ttx_file.empty()) return;
    if (!record.as<Report>().call<"ImportTTX">(file_argument(arguments.ttx_file))) {
      throw file_failure(*session, report);
    }
  };
  add(*session, options,
      {.key = report,
       .given = given,
       .exists = "exists already",
       .report_file = file,
       .prepare = import_ttx});
}

void edit_report(const Options& options, const Arguments& arguments) {
  const Row report = key(arguments.name);
  const auto session = connect(options);
  edit_record(*session, options, report);
}

bool is_there(const Session& session, const Row& report) {
  return lock_to_read_if_there(session, make_record(session, report), describe(report));
}

// A rename writes the row under its new name, then deletes the old one; what broke off in between
// is told as it stands.
std::string what_stands(const Session& session, const Login& login, const Row& report,
                        const Row& renamed) {
  connect_again(session, login);
  const bool old_name = is_there(session, report);
  const bool new_name = is_there(session, renamed);
  if (old_name && new_name) {
    return fmt::format("{} stands under both names now: as '{}' too.", describe(report),
                       shown(renamed));
  }
  if (!old_name && !new_name) return fmt::format("There is neither it nor {}.", describe(renamed));
  return fmt::format("Only {} is there now.", describe(old_name ? report : renamed));
}

[[noreturn]] void refuse_rename(const Failure& failure, const Session& session, const Login& login,
                                const Row& report, const Row& renamed) {
  std::string standing;
  try {
    standing = with_failures([&] { return what_stands(session, login, report, renamed); });
  } catch (const Failure&) {
    throw Failure(
        failure.code(),
        fmt::format("{}\nWhether {} stands under its old name, its new one or both cannot "
                    "be known: the database cannot be asked.",
                    failure.what(), describe(report)),
        failure.account());
  }
  // Now it is known.
  const ExitCode code = failure.code() == ExitCode::kUnknown ? ExitCode::kFailed : failure.code();
  throw Failure(code, fmt::format("{} was not renamed in order. {}", describe(report), standing),
                failure.account());
}

void rename_report(const Options& options, const Arguments& arguments) {
  const Row report = key(arguments.name);
  const Row renamed = key(arguments.new_name);
  const Login login = login_of(options);
  const auto session = connect(options, login);
  // Its own name in other letters is no other one.
  const bool moves = !same_key(report, renamed);
  if (moves && is_there(*session, renamed)) {
    throw Failure(ExitCode::kFailed, describe(renamed) + " exists already.");
  }
  const Record record = make_record(*session, report);
  lock_to_read(*session, record, describe(report));
  const Row read = row_of(record);
  Row wanted = read;
  wanted.overlay(renamed);
  record.assign(wanted);
  try {
    with_failures([&] {
      write(*session, options, record, read, wanted,
            [&] { return moves ? record.insert() : record.update(); });
    });
  } catch (const Failure& failure) {
    if (!moves || failure.code() == ExitCode::kChanged) throw;
    refuse_rename(failure, *session, login, report, renamed);
  }
  tell_written(*session, options, read, wanted);
}

void store_report(const Options& options, const Arguments& arguments) {
  const Row report = key(arguments.name);
  const Text file = file_argument(arguments.file);
  const auto session = connect(options);
  const Record record = make_record(*session, report);
  lock_to_read(*session, record, describe(report));
  const Row read = row_of(record);
  write(*session, options, record, read, read, [&] { return record.update(file); });
  tell_written(*session, options, read, read);
}

void import_ttx(const Options& options, const Arguments& arguments) {
  const Row report = key(arguments.name);
  const Text file = file_argument(arguments.file);
  const auto session = connect(options);
  const Record record = make_record(*session, report);
  lock_to_read(*session, record, describe(report));
  const Row read = row_of(record);
  if (!record.as<Report>().call<"ImportTTX">(file)) throw file_failure(*session, report);
  const Row wanted = row_of(record);
  write(*session, options, record, read, wanted, [&] { return record.update(); });
  tell_written(*session, options, read, wanted);
}

void extract_report(const Options& options, const Arguments& arguments) {
  const Row report = key(arguments.name);
  const Text file = file_argument(arguments.file);
  const auto session = connect(options);
  const Record record = make_record(*session, report);
  if (!record.as<Report>().call<"ExtractReport">(file)) {
    const Failure failure = file_failure(*session, report);
    bool missing = false;
    try {
      missing =
          with_failures([&] { return !lock_to_read_if_there(*session, record, describe(report)); });
    } catch (const Failure&) {
      // What was wrong with the file counts.
    }
    throw missing ? Failure(ExitCode::kMissing, failure.what(), failure.account()) : failure;
  }
  fmt::print("Report file of '{}' extracted to {}.\n", shown(report), to_display_utf8(file));
}

void extract_ttx(const Options& options, const Arguments& arguments) {
  const Row report = key(arguments.name);
  const Text file = file_argument(arguments.file);
  const auto session = connect(options);
  const Record record = make_record(*session, report);
  lock_to_read(*session, record, describe(report));
  if (!record.as<Report>().call<"ExtractTTX">(file)) throw file_failure(*session, report);
  // Whatever extension was given is replaced.
  const auto target = std::filesystem::path(to_display_utf8(file)).replace_extension(".ttx");
  fmt::print("Field definitions of '{}' extracted to {}.\n", shown(report), target.string());
}

void delete_report(const Options& options, const Arguments& arguments) {
  const Row report = key(arguments.name);
  const auto session = connect(options);
  remove(*session, report);
  fmt::print("{} deleted.\n", describe(report));
}

class ReportCommands final {
 public:
  ReportCommands(CLI::App& app, CommandLine& line)
      : reports_(add_group(app, "report", "The report catalog.")), line_(line) {}

  void add_list() {
    add_command(*reports_, "list", "All reports, by name.")->callback([&line = line_] {
      line.chosen = [&line] { list_reports(line.options); };
    });
  }

  struct Added {
    CLI::App* command;
    std::shared_ptr<Arguments> arguments;
  };

  Added add_one(const std::string& name, const std::string& help, const std::string& example,
                void (*run)(const Options&, const Arguments&)) {
    CLI::App* command = add_command(*reports_, name, help, example);
    const auto arguments = std::make_shared<Arguments>();
    add_name(*command, *arguments);
    command->callback([&line = line_, arguments, run] {
      line.chosen = [&line, arguments, run] { run(line.options, *arguments); };
    });
    return {command, arguments};
  }

  void add_one_with_file(const std::string& name, const std::string& help,
                         const std::string& file_help, const std::string& example,
                         void (*run)(const Options&, const Arguments&)) {
    const Added added = add_one(name, help, example, run);
    added.command->add_option("FILE", added.arguments->file, file_help)->required();
  }

  void add_add() {
    CLI::App* command = add_command(
        *reports_, "add", "Adds a report.",
        "tarnwick report add 'Returns by Month' --group Sales --sql-file returns.sql \\\n    "
        "--ttx-file returns.ttx --file returns.rpt");
    const auto arguments = std::make_shared<Arguments>();
    add_name(*command, *arguments);
    const auto values = std::make_shared<ReportValues>(*command);
    command
        ->add_option("--ttx-file", arguments->ttx_file,
                     "take the field definitions from this file (ISO-8859-1)")
        ->type_name("FILE");
    command->add_option("--file", arguments->file, "store this report file with it")
        ->type_name("FILE");
    command->callback([&line = line_, arguments, values] {
      line.chosen = [&line, arguments, values] { add_report(line.options, *arguments, *values); };
    });
  }

  void add_set() {
    CLI::App* command = add_command(
        *reports_, "set", "Changes fields of a report, unless somebody else changes it meanwhile.",
        "tarnwick report set 'Open Orders' --report-version 1.8.0 --author 'B. Jensen'");
    command->alias("update");
    const auto arguments = std::make_shared<Arguments>();
    add_name(*command, *arguments);
    command->add_flag("--lock", arguments->lock_first, "hold the row from the reading on");
    const auto values = std::make_shared<ReportValues>(*command);
    command->callback([&line = line_, arguments, values] {
      line.chosen = [&line, arguments, values] {
        const Row report = key(arguments->name);
        set_values(line.options, values->given(),
                   arguments->lock_first ? Holding::kLock : Holding::kNothing,
                   [&](const Session&) { return report; });
      };
    });
  }

 private:
  static void add_name(CLI::App& command, Arguments& arguments) {
    command.add_option("NAME", arguments.name, "the report's name")->required();
  }

  CLI::App* reports_;
  CommandLine& line_;
};

}  // namespace

void add_report_commands(CLI::App& app, CommandLine& line) {
  ReportCommands commands(app, line);
  commands.add_list();
  const auto shown = commands.add_one(
      "show", "One report.", "tarnwick report show 'Open Orders' --field SQL", show_report);
  shown.command->add_option("--field", shown.arguments->field, "this field's value alone");
  commands.add_add();
  commands.add_set();
  commands.add_one(
      "edit", "Opens the fields of a report in $VISUAL or $EDITOR and writes what was changed.",
      "EDITOR=nano tarnwick report edit 'Open Orders'", edit_report);
  const auto renamed =
      commands.add_one("rename", "Gives a report another name.",
                       "tarnwick report rename 'Open Orders' 'Orders in Hand'", rename_report);
  renamed.command->add_option("NEW-NAME", renamed.arguments->new_name, "its new name")->required();
  commands.add_one_with_file("store", "Stores a report file with a report.", "the file to store",
                             "tarnwick report store 'Open Orders' open-orders.rpt", store_report);
  commands.add_one_with_file("extract", "Writes the report file that is stored to disk.",
                             "the file to write; one that is there is overwritten",
                             "tarnwick report extract 'Open Orders' ./open-orders.rpt",
                             extract_report);
  commands.add_one_with_file("import-ttx", "Takes the field definitions of a report from a file.",
                             "the file to read, ISO-8859-1",
                             "tarnwick report import-ttx 'Open Orders' open-orders.ttx",
                             import_ttx);
  commands.add_one_with_file("extract-ttx", "Writes the field definitions of a report to a file.",
                             "the file to write; its extension becomes .ttx",
                             "tarnwick report extract-ttx 'Open Orders' ./open-orders.ttx",
                             extract_ttx);
  commands.add_one("delete", "Deletes a report.", "tarnwick report delete 'Open Orders'",
                   delete_report);
}

}  // namespace tarnwick::cli
