#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <map>
#include <memory>

#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/commands/key_arguments.h"
#include "apps/tarnwick/commands/listing.h"
#include "apps/tarnwick/commands/record_commands.h"
#include "apps/tarnwick/maintenance/cause.h"
#include "apps/tarnwick/maintenance/loading.h"
#include "apps/tarnwick/maintenance/maintenance.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/print.h"
#include "apps/tarnwick/output/table.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/session/connect.h"
#include "platform/file_system.h"

namespace tarnwick::cli {
namespace {

constexpr const char* kFileSize = "FileSize";

// How many bytes the report file of each report has.
MoreColumn file_sizes(const Session& session) {
  const auto sizes = std::make_shared<std::map<Text, std::int64_t>>();
  for (const StoredReportFile& file : session.transport().stored_report_files()) {
    sizes->insert_or_assign(file.report, file.length);
  }
  return {kFileSize, [sizes](const Row& report) -> std::optional<std::int64_t> {
            const auto found = sizes->find(report.get<Report, "Name">());
            if (found == sizes->end()) return std::nullopt;
            return found->second;
          }};
}

void list_reports(const Options& options, const Listing& listing) {
  auto session = connect(options);
  Loaded loaded = load_reports(*session);
  const MoreColumn sizes = file_sizes(*session);
  session.reset();
  listing.show(options, std::move(loaded),
               columns<Report, "Name", "Title", "ReportGroupID", "Version", "Author", "Created",
                       "ReportType">(),
               columns<Report, "ImageIndex", "SQL", "TTX", "Description", "MaintenanceType",
                       "Definition", "SoftLock", "RowVersion">(),
               {sizes});
}

std::string name_of(const Row& report) { return printable(report.get<Report, "Name">()); }

// Of a file that a report's method could not handle.
Failure file_failure(const Session& session, const Row& report) {
  return failure_of(session.last_cause(),
                    fmt::format("{}: the file was not handled", describe(report)),
                    session.last_error_msg());
}

struct AddArguments {
  ValueOptions values{ClassId::kReport};
  std::string ttx_file;
  std::string file;
};

void add_report(const Options& options, const Row& key, const AddArguments& arguments) {
  const Row given = arguments.values.given();
  const Text file = arguments.file.empty() ? Text() : file_argument(arguments.file);
  const auto session = connect(options);
  const auto import_ttx = [&](const Record& record) {
    if (arguments.ttx_file.empty()) return;
    if (!record.as<Report>().call<"ImportTTX">(file_argument(arguments.ttx_file))) {
      throw file_failure(*session, key);
    }
  };
  add(*session, options,
      {.key = key,
       .given = given,
       .exists = "exists already",
       .report_file = file,
       .prepare = import_ttx});
}

// A rename writes the row under its new name, then deletes the old one; what broke off in between
// is told as it stands.
std::string what_stands(const Session& session, const Login& login, const Row& key,
                        const Row& renamed) {
  connect_again(session, login);
  const bool old_name = is_there(session, key);
  const bool new_name = is_there(session, renamed);
  if (old_name && new_name) {
    return fmt::format("{} stands under both names now: as '{}' too.", describe(key),
                       name_of(renamed));
  }
  if (!old_name && !new_name) return fmt::format("There is neither it nor {}.", describe(renamed));
  return fmt::format("Only {} is there now.", describe(old_name ? key : renamed));
}

[[noreturn]] void refuse_rename(const Failure& failure, const Session& session, const Login& login,
                                const Row& key, const Row& renamed) {
  std::string standing;
  try {
    standing = with_failures([&] { return what_stands(session, login, key, renamed); });
  } catch (const Failure&) {
    throw Failure(
        failure.code(),
        fmt::format("{}\nWhether {} stands under its old name, its new one or both cannot "
                    "be known: the database cannot be asked.",
                    failure.what(), describe(key)),
        failure.account());
  }
  // Now it is known.
  const ExitCode code = failure.code() == ExitCode::kUnknown ? ExitCode::kFailed : failure.code();
  throw Failure(code, fmt::format("{} was not renamed in order. {}", describe(key), standing),
                failure.account());
}

void rename_report(const Options& options, const Row& key, const std::string& new_name) {
  const Row renamed = report_key(new_name);
  const Login login = login_of(options);
  const auto session = connect(options, login);
  // Its own name in other letters is no other one.
  const bool moves = !same_key(key, renamed);
  if (moves && is_there(*session, renamed)) {
    throw Failure(ExitCode::kFailed, describe(renamed) + " exists already.");
  }
  const Record record = read_record(*session, key);
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
    refuse_rename(failure, *session, login, key, renamed);
  }
  tell_written(*session, options, read, wanted);
}

void store_report(const Session& session, const Options& options, const Row& key,
                  const Text& file) {
  const Record record = read_record(session, key);
  const Row read = row_of(record);
  write(session, options, record, read, read, [&] { return record.update(file); });
  tell_written(session, options, read, read);
}

void import_ttx(const Session& session, const Options& options, const Row& key, const Text& file) {
  const Record record = read_record(session, key);
  const Row read = row_of(record);
  if (!record.as<Report>().call<"ImportTTX">(file)) throw file_failure(session, key);
  const Row wanted = row_of(record);
  write(session, options, record, read, wanted, [&] { return record.update(); });
  tell_written(session, options, read, wanted);
}

void extract_report(const Session& session, const Options&, const Row& key, const Text& file) {
  const Record record = make_record(session, key);
  if (!record.as<Report>().call<"ExtractReport">(file)) {
    const Failure failure = file_failure(session, key);
    bool missing = false;
    try {
      missing = with_failures([&] { return !is_there(session, key); });
    } catch (const Failure&) {
      // What was wrong with the file counts.
    }
    throw missing ? Failure(ExitCode::kMissing, failure.what(), failure.account()) : failure;
  }
  print("Report file of '{}' extracted to {}.\n", name_of(key), to_display_utf8(file));
}

void extract_ttx(const Session& session, const Options&, const Row& key, const Text& file) {
  const Record record = read_record(session, key);
  if (!record.as<Report>().call<"ExtractTTX">(file)) throw file_failure(session, key);
  // Whatever extension was given is replaced.
  const auto target = platform::to_native_path(file).replace_extension(".ttx");
  print("Field definitions of '{}' extracted to {}.\n", name_of(key),
        platform::path_to_utf8(target));
}

void add_list(CLI::App& reports, CommandLine& line) {
  const auto listing =
      std::make_shared<Listing>(ClassId::kReport, std::vector<std::string>{kFileSize});
  CLI::App* command = add_command(
      reports, line, "list",
      "All reports, or some of them, by name. FileSize is how many bytes the report file has that "
      "is stored; empty where there is none.",
      "tarnwick report list --group Sales --sort FileSize --reverse",
      [listing](const Options& options) { list_reports(options, *listing); });
  listing->add_filter(*command, "ReportGroupID", "only those of this group");
  listing->add_filter(*command, "ReportType", "only those of this type (CRY or none)");
  listing->add_options(*command, line);
}

void add_add(RecordCommands& one) {
  const auto arguments = std::make_shared<AddArguments>();
  CLI::App* command =
      one.add("add", "Adds a report.",
              "tarnwick report add 'Returns by Month' --group Sales --sql-file returns.sql \\\n    "
              "--ttx-file returns.ttx --file returns.rpt",
              [arguments](const Options& options, const Row& key) {
                add_report(options, key, *arguments);
              });
  arguments->values.add_options(*command);
  command
      ->add_option("--ttx-file", arguments->ttx_file,
                   "take the field definitions from this file (ISO-8859-1)")
      ->type_name("FILE");
  command->add_option("--file", arguments->file, "store this report file with it")
      ->type_name("FILE");
}

void add_rename(RecordCommands& one) {
  const auto new_name = std::make_shared<std::string>();
  one.add("rename", "Gives a report another name.",
          "tarnwick report rename 'Open Orders' 'Orders in Hand'",
          [new_name](const Options& options, const Row& key) {
            rename_report(options, key, *new_name);
          })
      ->add_option("NEW-NAME", *new_name, "its new name")
      ->required();
}

void add_with_file(RecordCommands& one, const std::string& name, const std::string& help,
                   const std::string& file_help, const std::string& example,
                   void (*run)(const Session&, const Options&, const Row& key, const Text& file)) {
  const auto file = std::make_shared<std::string>();
  one.add(name, help, example,
          [file, run](const Options& options, const Row& key) {
            const Text path = file_argument(*file);
            run(*connect(options), options, key, path);
          })
      ->add_option("FILE", *file, file_help)
      ->required();
}

}  // namespace

void add_report_commands(CLI::App& app, CommandLine& line) {
  CLI::App* reports = add_group(app, "report", "The report catalog.");
  RecordCommands one(*reports, line, ClassId::kReport);
  add_list(*reports, line);
  one.add_show("One report.", "tarnwick report show 'Open Orders' --field SQL");
  add_add(one);
  one.add_set("Changes fields of a report, unless somebody else changes it meanwhile.",
              "tarnwick report set 'Open Orders' --report-version 1.8.0 --author 'B. Jensen'",
              RecordCommands::Locking::kByChoice);
  one.add_edit("Opens the fields of a report in $VISUAL or $EDITOR and writes what was changed.",
               "EDITOR=nano tarnwick report edit 'Open Orders'");
  add_rename(one);
  add_with_file(one, "store", "Stores a report file with a report.", "the file to store",
                "tarnwick report store 'Open Orders' open-orders.rpt", store_report);
  add_with_file(one, "extract", "Writes the report file that is stored to disk.",
                "the file to write; one that is there is overwritten",
                "tarnwick report extract 'Open Orders' ./open-orders.rpt", extract_report);
  add_with_file(one, "import-ttx", "Takes the field definitions of a report from a file.",
                "the file to read, ISO-8859-1",
                "tarnwick report import-ttx 'Open Orders' open-orders.ttx", import_ttx);
  add_with_file(one, "extract-ttx", "Writes the field definitions of a report to a file.",
                "the file to write; its extension becomes .ttx",
                "tarnwick report extract-ttx 'Open Orders' ./open-orders.ttx", extract_ttx);
  one.add_delete("Deletes a report.", "tarnwick report delete 'Open Orders'");
}

}  // namespace tarnwick::cli
