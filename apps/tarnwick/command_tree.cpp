#include "apps/tarnwick/command_tree.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "apps/tarnwick/completion/completion.h"
#include "apps/tarnwick/output/shell_words.h"
#include "apps/tarnwick/session/service_session.h"

namespace tarnwick::cli {

CLI::App* add_group(CLI::App& parent, const std::string& name, const std::string& help,
                    const std::string& example) {
  // Without a footer of its own it would bear the parent's.
  return parent.add_subcommand(name, help)
      ->footer(example.empty() ? " " : "Example:\n  " + as_typed(example));
}

CLI::App* add_command(CLI::App& parent, CommandLine& line, const std::string& name,
                      const std::string& help, const std::string& example, Run run) {
  return add_group(parent, name, help, example)->callback([&line, run = std::move(run)] {
    line.chosen = run;
  });
}

namespace {

constexpr const char* kFirstExample = R"(Examples:
  tarnwick init ./var --role dw_admin --password-file ./password --sample
)";

constexpr const char* kExamples = R"(  tarnwick component tree
  tarnwick pc list --component 10 --active
  tarnwick report set 'Open Orders' --report-version 1.8.0
  tarnwick report list --json | jq '.[].Name'
)";

constexpr const char* kGeneral = R"(
Listings and records go through the pager on a terminal: $TARNWICK_PAGER, $PAGER or less.

Every command has a --help of its own. The switches above may stand anywhere.

)";

constexpr const char* kExitCodes = R"( Only init,
copy, upgrade, lock list and the role commands always work on the database itself.

Exit codes: 0 done; 1 failed, the account is on standard error; 2 wrong usage; 3 the record was
changed by someone else since it was read; 4 another process maintains the row; 5 no such record;
6 the connection was lost while it was written, so that nobody knows whether it was.)";

/// Help that keeps to the width of a page.
class WrappingFormatter final : public CLI::Formatter {
 public:
  std::string make_option_desc(const CLI::Option* option) const override {
    return wrapped(CLI::Formatter::make_option_desc(option));
  }
  std::string make_subcommand(const CLI::App* command) const override {
    std::ostringstream line;
    CLI::detail::format_help(line, command->get_display_name(true),
                             wrapped(command->get_description()), column_width_);
    return line.str();
  }

 private:
  [[nodiscard]] std::string wrapped(const std::string& text) const {
    const std::size_t width = 100 - column_width_;
    std::string result;
    std::size_t used = 0;
    std::istringstream words(text);
    for (std::string word; words >> word;) {
      const bool fits = used + 1 + word.size() <= width;
      if (!result.empty()) result += fits ? ' ' : '\n';
      used = (fits && !result.empty() ? used + 1 : 0) + word.size();
      result += word;
    }
    return result;
  }
};

// What makes one or several of them known, in the order of the help.
struct TopCommands {
  std::array<std::string_view, 3> names;
  void (*add)(CLI::App& app, CommandLine& line);

  [[nodiscard]] bool include(std::string_view word) const {
    return !word.empty() && std::ranges::find(names, word) != names.end();
  }
};
constexpr TopCommands kTopCommands[] = {
    {{"init"}, add_init_command},
    {{"check"}, add_check_command},
    {{"component"}, add_component_commands},
    {{"pc"}, add_pc_commands},
    {{"report"}, add_report_commands},
    {{"lock"}, add_lock_commands},
    {{"role"}, add_role_commands},
    {{"copy"}, add_copy_command},
    {{"upgrade"}, add_upgrade_command},
    {{"export", "diff", "apply"}, add_file_commands},
    {{"completion"}, add_completion_command},
};

}  // namespace

std::unique_ptr<CLI::App> make_command_tree(CommandLine& line) {
  return make_command_tree(line, {});
}

std::unique_ptr<CLI::App> make_command_tree(CommandLine& line, std::span<const std::string> words) {
  auto tree = std::make_unique<CLI::App>(
      "Reads and maintains the components, PCs and reports of a data warehouse.", "tarnwick");
  CLI::App& app = *tree;
  app.set_version_flag("--version", TARNWICK_VERSION);
  app.fallthrough();
  // What begins with a slash is a file on one system, and so it is on the other.
  app.allow_windows_style_options(false);
  app.footer(kFirstExample + example_settings() + as_typed(kExamples) + kGeneral + service_help() +
             kExitCodes);
  app.formatter(std::make_shared<WrappingFormatter>());
  add_options(app, line.options);
  // Where the first word is none of them, any may be meant: by a shell that asks, or to be listed.
  const bool all = words.empty() || std::ranges::none_of(kTopCommands, [&](const auto& commands) {
                     return commands.include(words.front());
                   });
  for (const TopCommands& commands : kTopCommands) {
    if (all || std::ranges::any_of(
                   words, [&](const std::string& word) { return commands.include(word); })) {
      commands.add(app, line);
    }
  }
  return tree;
}

}  // namespace tarnwick::cli
