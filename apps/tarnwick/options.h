#pragma once

#include <chrono>
#include <filesystem>
#include <string>
#include <string_view>

#include "apps/tarnwick/failure.h"
#include "platform/unattended_message_box.h"
#include "runtime/text.h"

namespace CLI {
class App;
}

namespace tarnwick::cli {

/// The switches that every command understands.
struct Options {
  std::string connect;
  std::string role;
  std::string password_file;
  bool in_process = false;
  bool system_bus = false;
  std::string address;  // of a bus; empty: the session bus, or the system bus
  bool json = false;
  bool csv = false;
  bool no_pager = false;
  bool verbose = false;
  std::string trace_file;
  platform::WhenLocked when_locked;
  /// How long a question stays open before it is answered Cancel.
  std::chrono::seconds question_timeout{60};
};

/// Makes the switches known to `app`; `options` must outlive it.
void add_options(CLI::App& app, Options& options);

/// The connection string that `options` name, with a relative folder of an embedded database made
/// absolute. Throws Failure (kUsage) where they name none, or one that cannot be read.
[[nodiscard]] Text connect_string_of(const Options& options);

/// The connection string of the embedded database in `folder`.
[[nodiscard]] Text embedded_connect_string(TextView folder);

/// The password in `file`, which ends at the first line end; asked for on the terminal, twice if
/// `confirm`, when `file` is empty. Never empty. Throws Failure.
[[nodiscard]] Text read_password(const std::string& file, bool confirm);

/// The same for a password that `role` is to have, which must not hold a quote; asked for twice.
[[nodiscard]] Text read_new_password(const std::string& file, const std::string& role);

/// What an argument of the command line stands for. Throws Failure (kUsage) when it is not UTF-8.
/// `what` begins the sentence.
[[nodiscard]] Text text_argument(std::string_view argument, std::string_view what = "An argument");

/// Throws Failure (kUsage) when `text` holds a single quote: roles, passwords and keys go into
/// statements between quotes, as they stand. `what` begins the sentence: "The role".
void require_no_quote(TextView text, const std::string& what);

/// A file that an argument names, as an absolute path. An empty argument is a Failure (kUsage).
[[nodiscard]] Text file_argument(const std::string& argument);
/// `file` as the object model takes it.
[[nodiscard]] Text file_argument(const std::filesystem::path& file);

/// Throws Failure (`code`) when the file cannot be read.
[[nodiscard]] std::string content_of(const std::filesystem::path& file, ExitCode code);

}  // namespace tarnwick::cli
