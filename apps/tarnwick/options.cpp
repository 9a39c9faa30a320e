#include "apps/tarnwick/options.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>
#include <utility>

#include "ado/connection_string.h"
#include "apps/tarnwick/completion/values.h"
#include "apps/tarnwick/output/shell_words.h"
#include "platform/file_system.h"
#include "platform/terminal.h"
#include "runtime/case_mapping.h"
#include "runtime/error.h"

namespace tarnwick::cli {
namespace {

constexpr std::uint32_t kMostSeconds = 86400;
constexpr char16_t kEmbedded[] = u"Tarnwick.Embedded";

Text with_doubled(char16_t doubled, TextView text) {
  Text result;
  for (const char16_t c : text) result.append(c == doubled ? 2 : 1, c);
  return result;
}

Text to_connect_string(const ado::ConnectionString& string) {
  Text text;
  for (const auto& item : string.items()) {
    if (!text.empty()) text += u';';
    const bool plain = item.value.find_first_of(u";'\"=") == Text::npos;
    text += with_doubled(u'=', item.name) + u'=';
    text += plain ? item.value : u'"' + with_doubled(u'"', item.value) + u'"';
  }
  return text;
}

std::string ask(std::string_view question) {
  std::string line;
  {
    // Before the question: what is typed at once is neither shown nor lost.
    const platform::TerminalMode no_echo(platform::TerminalMode::Without::kEcho);
    std::cerr << question << std::flush;
    if (!std::getline(std::cin, line)) {
      throw Failure(ExitCode::kUsage, "No password was given.");
    }
  }
  std::cerr << '\n';
  return line;
}

// How a password is asked for. `otherwise`: where it comes from without a terminal.
struct Question {
  std::string text;
  std::string otherwise;
  bool confirm = false;
};

std::string ask_password(const Question& question) {
  if (!platform::is_terminal(platform::Standard::kInput))
    throw Failure(ExitCode::kUsage, question.otherwise);
  std::string password = ask(question.text);
  if (question.confirm && ask("Once more: ") != password) {
    throw Failure(ExitCode::kUsage, "The two passwords differ.");
  }
  return password;
}

std::string password_in(const std::string& file) {
  std::ifstream stream(platform::path_from_utf8(file), std::ios::binary);
  std::string line;
  if (!stream.is_open() || (!std::getline(stream, line) && stream.bad())) {
    throw Failure(ExitCode::kUsage, fmt::format("The password file '{}' cannot be read.", file));
  }
  if (line.ends_with('\r')) line.pop_back();
  return line;
}

Text obtain_password(const std::string& file, const Question& question) {
  const std::string password = file.empty() ? ask_password(question) : password_in(file);
  if (password.empty()) throw Failure(ExitCode::kUsage, "The password is empty.");
  if (password.find('\0') != std::string::npos) {
    throw Failure(ExitCode::kUsage, "The password holds a NUL character.");
  }
  return text_argument(password, "The password");
}

// A relative folder of an embedded database made absolute: whoever opens the database may stand in
// another folder.
Text with_absolute_folder(TextView connect_string) {
  try {
    ado::ConnectionString string = ado::ConnectionString::parse(connect_string);
    const auto provider = string.find(u"Provider");
    const auto folder = string.find(u"Data Source");
    if (!provider || !equals_ignoring_case(*provider, kEmbedded) || !folder || folder->empty()) {
      return Text(connect_string);
    }
    const std::filesystem::path path = platform::to_native_path(*folder);
    if (path.is_absolute()) return Text(connect_string);
    string.set(u"Data Source", from_utf8(platform::path_to_utf8(
                                   (std::filesystem::current_path() / path).lexically_normal())));
    return to_connect_string(string);
  } catch (const Error& error) {
    throw Failure(ExitCode::kUsage,
                  fmt::format("The connection string cannot be read: {}", error.what()));
  }
}

}  // namespace

void add_options(CLI::App& app, Options& options) {
  app.add_option("--connect", options.connect, "connection string of the database")
      ->type_name("STRING")
      ->envname("TARNWICK_CONNECT");
  app.add_option("--role", options.role, "application role to enter")
      ->type_name("NAME")
      ->envname("TARNWICK_ROLE");
  app.add_option("--password-file", options.password_file,
                 "file whose first line is the role's password; without it the terminal asks")
      ->type_name("FILE")
      ->envname("TARNWICK_PASSWORD_FILE");
  CLI::Option* in_process =
      app.add_flag("--in-process", options.in_process,
                   "work on the database directly, in this process, instead of talking to the "
                   "service")
          ->envname("TARNWICK_IN_PROCESS");
  CLI::Option* system_bus =
      app.add_flag("--system", options.system_bus, "talk to the service of the system bus");
  CLI::Option* address = app.add_option("--address", options.address,
                                        "talk to the service of the bus at this D-Bus address")
                             ->type_name("ADDRESS")
                             ->excludes(system_bus);
  app.add_flag("--json", options.json, "print JSON, for machines");
  app.add_flag("--no-pager", options.no_pager,
               "show long output on a terminal at once, not through $TARNWICK_PAGER, $PAGER or "
               "less");
  app.add_flag("-v,--verbose", options.verbose,
               "tell each step of a change, and the row version before and after");
  app.add_option_function<std::string>(
         "--when-locked",
         [&options](const std::string& text) {
           const auto when_locked = platform::WhenLocked::parse(text);
           if (!when_locked) {
             throw CLI::ValidationError("--when-locked",
                                        "must be ask, cancel or retry:N with N from 1 to 1000000");
           }
           options.when_locked = *when_locked;
         },
         "what to do about a row that another process maintains: ask (on the terminal, else on the "
         "desktop, else cancel), cancel, or retry:N times")
      ->type_name("HOW");
  note_values(*app.get_option("--when-locked"), {"ask", "cancel", "retry:3"});
  app.add_option_function<std::uint32_t>(
         "--question-timeout",
         [&options](std::uint32_t seconds) {
           options.question_timeout = std::chrono::seconds(seconds);
         },
         "answer Retry or Cancel with Cancel when nobody does within this time (60)")
      ->type_name("SECONDS")
      ->check(CLI::Range(std::uint32_t{1}, kMostSeconds).description(""));
  app.add_option("--trace", options.trace_file,
                 "append every statement and transaction step to this file; passwords are blanked")
      ->type_name("FILE")
      ->excludes(system_bus)
      ->excludes(address);
  in_process->excludes(system_bus)->excludes(address);
}

Text connect_string_of(const Options& options) {
  if (options.connect.empty()) {
    throw Failure(ExitCode::kUsage,
                  "Which database? Name it by --connect or TARNWICK_CONNECT, for example\n"
                  "  --connect " +
                      shell_word("Provider=Tarnwick.Embedded;Data Source=./var"));
  }
  return with_absolute_folder(text_argument(options.connect));
}

Text embedded_connect_string(TextView folder) {
  ado::ConnectionString string;
  string.set(u"Provider", kEmbedded);
  string.set(u"Data Source", Text(folder));
  return to_connect_string(string);
}

Text read_password(const std::string& file, bool confirm) {
  return obtain_password(
      file, {.text = "Password of the application role: ",
             .otherwise = "The password is needed: name a file that holds it by --password-file or "
                          "TARNWICK_PASSWORD_FILE.",
             .confirm = confirm});
}

Text read_new_password(const std::string& file, const std::string& role) {
  Text password = obtain_password(
      file,
      {.text = fmt::format("New password of the role '{}': ", role),
       .otherwise = "The new password is needed: name a file that holds it by --new-password-file.",
       .confirm = true});
  require_no_quote(password, "The new password");
  return password;
}

Text text_argument(std::string_view argument, std::string_view what) {
  try {
    return from_utf8(argument);
  } catch (const Error&) {
    throw Failure(ExitCode::kUsage, fmt::format("{} is not UTF-8.", what));
  }
}

void require_no_quote(TextView text, const std::string& what) {
  if (text.find(u'\'') != TextView::npos) {
    throw Failure(ExitCode::kUsage, fmt::format("{} must not hold a quote (').", what));
  }
}

Text file_argument(const std::string& argument) {
  if (argument.empty()) throw Failure(ExitCode::kUsage, "A file name is empty.");
  return file_argument(platform::path_from_utf8(argument));
}

Text file_argument(const std::filesystem::path& file) {
  return text_argument(platform::path_to_utf8(std::filesystem::absolute(file).lexically_normal()));
}

std::string content_of(const std::filesystem::path& file, ExitCode code) {
  std::ifstream stream(file, std::ios::binary);
  std::ostringstream content;
  // To take over nothing would count as a failure.
  if (stream.peek() != std::ifstream::traits_type::eof()) content << stream.rdbuf();
  if (!stream.is_open() || stream.bad() || content.bad()) {
    throw Failure(code, fmt::format("The file '{}' cannot be read.", platform::path_to_utf8(file)));
  }
  return std::move(content).str();
}

}  // namespace tarnwick::cli
