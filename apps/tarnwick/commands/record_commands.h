#pragma once

#include <functional>
#include <string>

#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/commands/value_options.h"
#include "apps/tarnwick/session/session.h"

namespace tarnwick::cli {

/// Adds commands that work on one record of a class to a group.
class RecordCommands final {
 public:
  /// `line` must outlive `group`.
  RecordCommands(CLI::App& group, CommandLine& line, ClassId record_class)
      : group_(group), line_(line), record_class_(record_class) {}

  /// `given` is what was said of the record's key: see find_key.
  using RunOnRecord = std::function<void(const Options& options, const Row& given)>;

  /// A command with the arguments that name the record.
  CLI::App* add(const std::string& name, const std::string& help, const std::string& example,
                RunOnRecord run);

  // Those that are the same for every class.
  void add_show(const std::string& help, const std::string& example);
  void add_edit(const std::string& help, const std::string& example);
  void add_delete(const std::string& help, const std::string& example);
  enum class Locking { kNever, kByChoice };
  void add_set(const std::string& help, const std::string& example, Locking locking);

 private:
  CLI::App& group_;
  CommandLine& line_;
  ClassId record_class_;
};

}  // namespace tarnwick::cli
