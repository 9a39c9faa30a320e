#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <exception>
#include <iostream>
#include <system_error>

#include "apps/tarnwick/command_tree.h"
#include "apps/tarnwick/completion/completion.h"
#include "apps/tarnwick/failure.h"
#include "apps/tarnwick/maintenance/cause.h"
#include "apps/tarnwick/output/print.h"
#include "apps/tarnwick/terminal/process_setup.h"
#include "platform/process.h"
#include "platform/terminal.h"

namespace tarnwick::cli {
namespace {

// Accounts come with the line ends of automation clients.
std::string account_lines(const Text& account) {
  std::string lines = to_display_utf8(account);
  std::erase(lines, '\r');
  return lines.erase(0, lines.find_first_not_of('\n'));
}

int complain(ExitCode code, std::string_view text, const Text& account = {}) {
  flush_output();
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

// Ends well if all that was printed is written.
int finish() {
  if (flush_output()) return static_cast<int>(ExitCode::kDone);
  // There is nothing to complain of.
  if (platform::reader_has_gone()) return static_cast<int>(ExitCode::kFailed);
  return complain(ExitCode::kFailed, "The output cannot be written.");
}

int run(const CommandLine& line) {
  try {
    line.chosen(line.options);
    return finish();
  } catch (const std::system_error& error) {
    // The library that prints throws where it cannot.
    return !flush_output() ? finish() : complain(ExitCode::kFailed, error.what());
  } catch (const Failure& failure) {
    return complain(failure.code(), failure.what(), failure.account());
  } catch (const client::CallError& error) {
    const Failure failure = failure_of(error);
    return complain(failure.code(), failure.what());
  } catch (const std::exception& error) {
    return complain(ExitCode::kFailed, error.what());
  }
}

int parse_and_run(std::vector<std::string> words) {
  CommandLine line;
  const auto commands = make_command_tree(line, words);
  CLI::App& app = *commands;
  if (const auto answered = answer_shell(app, words)) return *answered;
  try {
    std::ranges::reverse(words);  // as the library wants them
    app.parse(std::move(words));
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
  return tarnwick::cli::parse_and_run(tarnwick::platform::arguments(argc, argv));
}
