#include <fmt/format.h>
#include <langinfo.h>
#include <poll.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <exception>
#include <iostream>
#include <system_error>

#include "apps/tarnwick/commands/commands.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/maintenance/cause.h"
#include "apps/tarnwick/terminal/process_setup.h"

namespace tarnwick::cli {

CLI::App* add_group(CLI::App& parent, const std::string& name, const std::string& help,
                    const std::string& example) {
  // Without a footer of its own it would bear the parent's.
  return parent.add_subcommand(name, help)
      ->footer(example.empty() ? " " : "Example:\n  " + example);
}

CLI::App* add_command(CLI::App& parent, CommandLine& line, const std::string& name,
                      const std::string& help, const std::string& example, Run run) {
  return add_group(parent, name, help, example)->callback([&line, run] { line.chosen = run; });
}

namespace {

constexpr const char* kFooter = R"(Examples:
  tarnwick init ./var --role dw_admin --password-file ./password --sample
  export TARNWICK_CONNECT='Provider=Tarnwick.Embedded;Data Source=./var'
  export TARNWICK_ROLE=dw_admin TARNWICK_PASSWORD_FILE=./password
  tarnwick component tree
  tarnwick pc list --component 10 --active
  tarnwick report set 'Open Orders' --report-version 1.8.0
  tarnwick report list --json | jq '.[].Name'

Listings and records go through the pager on a terminal: $TARNWICK_PAGER, $PAGER or less.

Every command has a --help of its own. The switches above may stand anywhere.

Commands talk to the D-Bus service of the session and start it where nothing else does; without a
session, or where they would disturb its other clients, they start one of their own. Only init,
copy, upgrade and lock list always work on the database itself.

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

void use_utf8() {
  std::setlocale(LC_ALL, "");
  // Tables are UTF-8 wherever they are printed.
  if (std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0) std::setlocale(LC_CTYPE, "C.UTF-8");
}

// Accounts come with the line ends of automation clients.
std::string account_lines(const Text& account) {
  std::string lines = to_display_utf8(account);
  std::erase(lines, '\r');
  return lines.erase(0, lines.find_first_not_of('\n'));
}

int complain(ExitCode code, std::string_view text, const Text& account = {}) {
  std::fflush(stdout);
  tell_error(fmt::format("tarnwick: {}", text));
  const std::string lines = account_lines(account);
  if (!lines.empty()) tell_error(lines);
  return static_cast<int>(code);
}

// The words that lead to the command that was asked for: "tarnwick report show".
std::string path_of(const CLI::App& app) {
  std::string path = app.get_name();
  const CLI::App* at = &app;
  while (!at->get_subcommands().empty()) {
    at = at->get_subcommands().front();
    path += " " + at->get_name();
  }
  return path;
}

int refuse_usage(const CLI::App& app, std::string_view text) {
  return complain(ExitCode::kUsage, fmt::format("{}\nSee {} --help.", text, path_of(app)));
}

// As `head` goes, once it has enough: there is nothing to complain of.
bool reader_has_gone() {
  pollfd output{.fd = STDOUT_FILENO, .events = 0, .revents = 0};
  return poll(&output, 1, 0) == 1 && (output.revents & POLLERR) != 0;
}

// Ends well if all that was printed is written.
int finish() {
  if (std::cout.flush() && std::fflush(stdout) == 0 && std::ferror(stdout) == 0) {
    return static_cast<int>(ExitCode::kDone);
  }
  if (reader_has_gone()) return static_cast<int>(ExitCode::kFailed);
  return complain(ExitCode::kFailed, "The output cannot be written.");
}

int run(const CommandLine& line) {
  try {
    line.chosen(line.options);
    return finish();
  } catch (const std::system_error& error) {
    // The library that prints throws where it cannot.
    return std::ferror(stdout) != 0 ? finish() : complain(ExitCode::kFailed, error.what());
  } catch (const Failure& failure) {
    return complain(failure.code(), failure.what(), failure.account());
  } catch (const client::CallError& error) {
    const Failure failure = failure_of(error);
    return complain(failure.code(), failure.what());
  } catch (const std::exception& error) {
    return complain(ExitCode::kFailed, error.what());
  }
}

int parse_and_run(int argc, char** argv) {
  CommandLine line;
  CLI::App app("Reads and maintains the components, PCs and reports of a data warehouse.",
               "tarnwick");
  app.set_version_flag("--version", TARNWICK_VERSION);
  app.fallthrough();
  app.footer(kFooter);
  app.formatter(std::make_shared<WrappingFormatter>());
  add_options(app, line.options);
  add_init_command(app, line);
  add_check_command(app, line);
  add_component_commands(app, line);
  add_pc_commands(app, line);
  add_report_commands(app, line);
  add_lock_commands(app, line);
  add_copy_command(app, line);
  add_upgrade_command(app, line);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) {
      app.exit(error, std::cout, std::cerr);
      return finish();
    }
    return refuse_usage(app, error.what());
  }
  if (!line.chosen) return refuse_usage(app, "Which command?");
  return run(line);
}

}  // namespace
}  // namespace tarnwick::cli

int main(int argc, char** argv) {
  tarnwick::cli::set_up_process();
  tarnwick::cli::use_utf8();
  return tarnwick::cli::parse_and_run(argc, argv);
}
