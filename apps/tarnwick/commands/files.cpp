#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <variant>
#include <vector>

#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/files/apply_change.h"
#include "apps/tarnwick/files/change_telling.h"
#include "apps/tarnwick/files/comparison.h"
#include "apps/tarnwick/files/export_folder.h"
#include "apps/tarnwick/files/record_folder.h"
#include "apps/tarnwick/maintenance/naming.h"
#include "apps/tarnwick/output/print.h"
#include "apps/tarnwick/output/telling.h"
#include "apps/tarnwick/session/connect.h"
#include "platform/file_system.h"

namespace tarnwick::cli {
namespace {

using Json = nlohmann::ordered_json;
using Action = Change::Action;

struct Arguments {
  std::string folder;
  bool prune = false;
  bool dry_run = false;
};

std::filesystem::path folder_in(const Arguments& arguments) {
  return platform::to_native_path(file_argument(arguments.folder));
}

void export_records(const Options& options, const Arguments& arguments) {
  const auto folder = folder_in(arguments);
  const auto session = connect(options);
  const auto counts = export_folder(*session, folder);
  if (options.json) {
    return print_json(
        {{"Components", counts[0]}, {"RegisteredPCs", counts[1]}, {"Reports", counts[2]}});
  }
  print("Exported {} components, {} PCs and {} reports to {}.\n", counts[0], counts[1], counts[2],
        platform::path_to_utf8(folder));
}

/// What was done, or would be, as it is told.
class Account final {
 public:
  Account(const Options& options, bool fields) : json_(options.json), fields_(fields) {}

  void tell(const Change& change, Outcome outcome) {
    totals.count(change, outcome);
    (outcome == Outcome::kHeld ? held_ : changed_) |=
        outcome == Outcome::kHeld || outcome == Outcome::kChanged;
    if (json_) {
      changes_.push_back(to_json(change, outcome));
      return;
    }
    print("{}\n{}", line_of(change, outcome), fields_ ? lines_of_fields(change) : "");
    flush_output();  // what was done is told even if the next step ends it all
  }

  /// Throws Failure where records were left alone.
  void end(Outcome outcome) const {
    if (json_) {
      tell_machines();
    } else {
      print_text(lines_of(totals, outcome));
    }
    if (changed_) throw Failure(ExitCode::kChanged, "Not all was done: look at it, and try again.");
    if (held_) throw Failure(ExitCode::kLocked, "Not all was done: try again later.");
  }
  /// Instead of `end`, for who ends with a failure of its own.
  void break_off() const {
    if (json_) tell_machines();
  }

  Totals totals;

 private:
  void tell_machines() const {
    Json all = to_json(totals);
    all["Changes"] = changes_;
    print_json(all);
  }

  bool json_;
  bool fields_;
  bool changed_ = false;
  bool held_ = false;
  Json changes_ = Json::array();
};

Outcome planned(const Change& change) {
  return change.action == Action::kHeld ? Outcome::kHeld : Outcome::kPlanned;
}

void diff(const Options& options, const Arguments& arguments) {
  const RecordFolder folder = read_folder(folder_in(arguments));
  const auto session = connect(options);
  const StoredRecords stored = load_stored(*session, nullptr);
  Account account(options, true);
  for (const Change& change : compare(*session, folder, stored)) {
    account.tell(change, planned(change));
  }
  account.end(Outcome::kPlanned);
}

Outcome carry_out(const Session& session, const Change& change) {
  if (change.action == Action::kHeld) return Outcome::kHeld;
  try {
    apply_change(session, change);
    return Outcome::kDone;
  } catch (const Failure& failure) {
    if (failure.code() == ExitCode::kLocked) return Outcome::kHeld;
    if (failure.code() == ExitCode::kChanged) return Outcome::kChanged;
    throw;
  }
}

// What the object model would refuse is refused before anything is written.
void require_maintainable(const Change& change) {
  if (!change.writes()) return;
  require_plain_key(change.row);
  for (const Attribute& attribute : change.row.attributes()) {
    if (!attribute.key) continue;
    const auto* const text = std::get_if<Text>(&change.row[attribute]);
    const auto* const number = std::get_if<std::int16_t>(&change.row[attribute]);
    if ((text == nullptr || !text->empty()) && (number == nullptr || *number >= 0)) continue;
    throw Failure(ExitCode::kFailed,
                  fmt::format("{} cannot be maintained: its {} is {}. Nothing was changed.",
                              describe(change.row), to_utf8(attribute.column),
                              text != nullptr ? "empty" : "negative"));
  }
}

void apply(const Options& options, const Arguments& arguments) {
  const RecordFolder folder = read_folder(folder_in(arguments));
  const auto session = connect(options);
  const StoredRecords stored = load_stored(*session, arguments.dry_run ? nullptr : &folder);
  const Outcome outcome = arguments.dry_run ? Outcome::kPlanned : Outcome::kDone;
  Account account(options, false);
  std::vector<Change> changes = compare(*session, folder, stored);
  if (!arguments.prune) {
    account.totals.only_stored = std::erase_if(
        changes, [](const Change& change) { return change.action == Action::kDelete; });
  }
  std::ranges::for_each(changes, require_maintainable);
  for (const Change& change : changes) {
    try {
      account.tell(change, arguments.dry_run ? planned(change) : carry_out(*session, change));
    } catch (const Failure&) {
      account.break_off();
      throw;
    }
  }
  account.end(outcome);
}

CLI::App* add_folder_command(CLI::App& app, CommandLine& line, const std::string& name,
                             const std::string& help, const std::string& folder_help,
                             const std::string& example,
                             void (*run)(const Options&, const Arguments&),
                             const std::shared_ptr<Arguments>& arguments) {
  CLI::App* command =
      add_command(app, line, name, help, example,
                  [arguments, run](const Options& options) { run(options, *arguments); });
  command->add_option("FOLDER", arguments->folder, folder_help)->required();
  return command;
}

}  // namespace

void add_file_commands(CLI::App& app, CommandLine& line) {
  add_folder_command(app, line, "export",
                     "Writes components, PCs and reports to a folder of files: the same bytes for "
                     "the same data. An export that lies there is replaced.",
                     "where; made if it is not there", "tarnwick export ./catalog", export_records,
                     std::make_shared<Arguments>());
  add_folder_command(app, line, "diff",
                     "Shows record by record and field by field what apply would do with a folder. "
                     "The exit code is 0 whether there are differences or not.",
                     "as export writes it; pcs.csv may stand for pcs.json",
                     "tarnwick export ./catalog && tarnwick diff ./catalog", diff,
                     std::make_shared<Arguments>());
  const auto arguments = std::make_shared<Arguments>();
  CLI::App* command = add_folder_command(
      app, line, "apply",
      "Makes the database what a folder says: adds and changes records, unless somebody else does "
      "meanwhile. What the object model does not write is told and left.",
      "as export writes it; pcs.csv may stand for pcs.json",
      "tarnwick export ./catalog\n  tarnwick apply ./catalog --prune --dry-run", apply, arguments);
  command->add_flag("--prune", arguments->prune, "delete what is not in the folder");
  command->add_flag("--dry-run", arguments->dry_run, "tell what would be done, and do nothing");
}

}  // namespace tarnwick::cli
