#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/apps/tarnwick/program.h"
#include "tests/support/embedded_database.h"
#include "tests/support/plain_sqlite.h"
#include "tests/support/temporary_folder.h"

namespace tarnwick::cli {

using Json = nlohmann::ordered_json;
using test_support::Ending;
using test_support::Program;
using test_support::Start;

/// What no command of a test is to see: the session and the screen of whoever runs the tests.
inline std::map<std::string, std::string> nobodys_session() {
  return {{"DBUS_SESSION_BUS_ADDRESS", ""}, {"XDG_RUNTIME_DIR", ""}, {"DISPLAY", ""}};
}

/// The command line over a database that it has made itself, with the sample data. Run with
/// TARNWICK_IN_PROCESS set and without: it works on the database in its own process, or each
/// command starts a service of its own.
class CommandLineTest : public ::testing::Test {
 protected:
  static constexpr const char* kRole = "dw_admin";

  CommandLineTest() {
    password_file_ = folder_.write("password", "open sesame\n").string();
    database_folder_ = (folder_.path() / "db").string();
  }

  void SetUp() override {
    const Ending ending = run_with({}, {"init", database_folder_, "--role", kRole,
                                        "--password-file", password_file_, "--sample"});
    ASSERT_EQ(ending.exit_code, 0) << ending.err;
    test_support::lighten_role(database_folder_ + "/Velmar_Sec.db", from_utf8(kRole),
                               u"open sesame");
  }

  [[nodiscard]] std::string connect_string() const {
    return "Provider=Tarnwick.Embedded;Data Source=" + database_folder_;
  }

  [[nodiscard]] std::map<std::string, std::string> environment() const {
    std::map<std::string, std::string> variables = nobodys_session();
    variables.insert({{"TARNWICK_CONNECT", connect_string()},
                      {"TARNWICK_ROLE", kRole},
                      {"TARNWICK_PASSWORD_FILE", password_file_},
                      {"VISUAL", ""},
                      {"EDITOR", ""},
                      {"TARNWICK_PAGER", "cat"},
                      {"LC_ALL", "C.UTF-8"}});
    return variables;
  }

  /// How a command on the sample database is started.
  [[nodiscard]] Start start(std::vector<std::string> arguments) const {
    return {.arguments = std::move(arguments), .environment = environment()};
  }

  /// Runs a command on the sample database.
  [[nodiscard]] Ending run(std::vector<std::string> arguments) const {
    return test_support::run(start(std::move(arguments)));
  }

  /// Runs a command that must go through, and returns what it says.
  std::string say(std::vector<std::string> arguments) const {
    const Ending ending = run(std::move(arguments));
    EXPECT_EQ(ending.exit_code, 0) << ending.err;
    EXPECT_EQ(ending.err, "");
    return ending.out;
  }

  /// The same with --json, taken apart.
  [[nodiscard]] Json json(std::vector<std::string> arguments) const {
    arguments.push_back("--json");
    return Json::parse(say(std::move(arguments)));
  }

  /// Runs a command with nothing in its environment but what is given.
  [[nodiscard]] static Ending run_with(std::map<std::string, std::string> environment,
                                       std::vector<std::string> arguments) {
    for (const char* name : {"TARNWICK_CONNECT", "TARNWICK_ROLE", "TARNWICK_PASSWORD_FILE"}) {
      environment.try_emplace(name, "");
    }
    environment.merge(nobodys_session());
    return test_support::run(
        {.arguments = std::move(arguments), .environment = std::move(environment)});
  }

  /// Runs `sql` as a program that knows nothing of ours.
  test_support::PlainSqlite::Rows sql(const std::string& sql) const {
    return test_support::PlainSqlite(database_file()).run(sql);
  }
  [[nodiscard]] std::string value(const std::string& statement) const {
    return sql(statement).at(0).at(0);
  }
  [[nodiscard]] std::filesystem::path database_file() const {
    return std::filesystem::path(database_folder_) / "Velmar_Sec.db";
  }

  test_support::TemporaryFolder folder_;
  std::string password_file_;
  std::string database_folder_;
};

/// The content of a file, byte for byte.
inline std::string content_of(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  EXPECT_TRUE(stream.is_open()) << file;
  return {std::istreambuf_iterator<char>(stream), {}};
}

/// The lines of `text`, without their ends.
inline std::vector<std::string> lines_of(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

}  // namespace tarnwick::cli
