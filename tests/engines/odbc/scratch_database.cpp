#include "tests/engines/odbc/scratch_database.h"

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <random>
#include <sstream>
#include <utility>
#include <vector>

#include "ado/error.h"
#include "engines/odbc/result.h"
#include "runtime/case_mapping.h"

namespace tarnwick::odbc_test {
namespace {

constexpr const char* kVariable = "TARNWICK_TEST_SQLSERVER";

Text random_digits() {
  std::random_device random;
  return decimal(static_cast<std::int64_t>(random()));
}

Text in_quotes(TextView value) {
  Text result = u"\"";
  for (const char16_t c : value) {
    result += c;
    if (c == u'"') result += c;
  }
  return result += u'"';
}

/// The test server's string for another login.
Text string_for(TextView user, TextView password) {
  const auto string = ado::ConnectionString::parse(test_server().value_or(Text()));
  const bool odbc = names_odbc_items();
  Text result;
  for (const auto& item : string.items()) {
    bool left_out = false;
    // The login has no business in the administrator's database.
    for (const TextView name : {u"User ID", u"Password", u"Integrated Security", u"UID", u"PWD",
                                u"Trusted_Connection", u"Initial Catalog", u"Database"}) {
      left_out = left_out || equals_ignoring_case(item.name, name);
    }
    if (!left_out) result += join({item.name, u"=", in_quotes(item.value), u";"});
  }
  return join({result, odbc ? u"UID=" : u"User ID=", in_quotes(user),
               odbc ? u";PWD=" : u";Password=", in_quotes(password)});
}

void replace_all(std::string& text, const std::string& what, const std::string& by) {
  for (std::size_t at = text.find(what); at != std::string::npos; at = text.find(what, at)) {
    text.replace(at, what.size(), by);
    at += by.size();
  }
}

}  // namespace

std::optional<Text> test_server() {
  const char* value = std::getenv(kVariable);
  if (value == nullptr || *value == '\0') return std::nullopt;
  return from_utf8(value);
}

std::string why_no_test_server() {
  if (test_server()) return {};
  return std::string(kVariable) +
         " is not set, so nothing was tested on a SQL Server. Set it to an administrator's "
         "connection string for a scratch server, such as \"Provider=MSOLEDBSQL;Data "
         "Source=localhost;User ID=sa;Password=...;Trust Server Certificate=yes\"; the tests make "
         "and drop databases and logins of their own there.";
}

bool names_odbc_items() {
  const auto string = ado::ConnectionString::parse(test_server().value_or(Text()));
  return fold(string.find(u"Provider").value_or(Text())).starts_with(u"msdasql");
}

std::string why_no_velmar_sec() {
  if (!test_server()) return why_no_test_server();
  odbc::OdbcEngine engine;
  const auto master = engine.connect(ado::ConnectionString::parse(*test_server()));
  const auto found =
      master->open({.statement = u"SELECT name FROM sys.databases WHERE name = N'Velmar_Sec'"});
  ado::RowBuffer rows(1);
  found->fetch(rows, 1);
  if (rows.rows() == 0) return {};
  return "The server of TARNWICK_TEST_SQLSERVER has a database Velmar_Sec, which is left alone: "
         "the "
         "object model's tests need a server without one.";
}

ScratchDatabase::ScratchDatabase() : ScratchDatabase(join({u"Tarnwick_Test_", random_digits()})) {}

ScratchDatabase::ScratchDatabase(Text name)
    : name_(std::move(name)),
      login_(join({u"Tarnwick_Test_", random_digits()})),
      login_password_(join({u"Lg-", random_digits(), u"_x"})) {
  try {
    const auto master = engine_.connect(ado::ConnectionString::parse(*test_server()));
    master->execute(join({u"CREATE DATABASE ", name_, u" COLLATE Latin1_General_100_CI_AS"}));
    run_schema();
    const auto session = administrator();
    session->execute(join({u"CREATE LOGIN ", login_, u" WITH PASSWORD = N'", login_password_,
                           u"', CHECK_POLICY = OFF"}));
    session->execute(join({u"CREATE USER ", login_, u" FOR LOGIN ", login_}));
  } catch (...) {
    drop();
    throw;
  }
}

ScratchDatabase::~ScratchDatabase() { drop(); }

void ScratchDatabase::drop() noexcept {
  try {
    const auto master = engine_.connect(ado::ConnectionString::parse(*test_server()));
    master->execute(
        join({u"IF DB_ID(N'", name_, u"') IS NOT NULL BEGIN ALTER DATABASE ", name_,
              u" SET SINGLE_USER WITH ROLLBACK IMMEDIATE; DROP DATABASE ", name_, u"; END"}));
    master->execute(join({u"IF SUSER_ID(N'", login_, u"') IS NOT NULL DROP LOGIN ", login_}));
  } catch (const std::exception& error) {
    std::cerr << "The scratch database " << to_display_utf8(name_)
              << " is still there: " << error.what() << '\n';
  }
}

void ScratchDatabase::run_schema() {
  std::ifstream file(SQLSERVER_SCHEMA);
  if (!file) throw std::runtime_error("no " SQLSERVER_SCHEMA);
  const auto session = administrator();
  std::string batch;
  for (std::string line; std::getline(file, line);) {
    if (line != "GO") {
      batch += line + '\n';
      continue;
    }
    replace_all(batch, "$(RolePassword)", to_utf8(role_password()));
    session->execute(from_utf8(batch));
    batch.clear();
  }
}

std::unique_ptr<ado::EngineSession> ScratchDatabase::administrator() {
  auto session = engine_.connect(ado::ConnectionString::parse(*test_server()));
  session->set_default_database(name_);
  return session;
}

Text ScratchDatabase::login_string(TextView password) const { return string_for(login_, password); }

void ScratchDatabase::end_sessions_of_login() {
  const auto master = engine_.connect(ado::ConnectionString::parse(*test_server()));
  const auto found = master->open(
      {.statement = join({u"SELECT CAST(session_id AS int) As Id FROM sys.dm_exec_sessions WHERE "
                          u"original_login_name = N'",
                          login_, u"'"})});
  ado::RowBuffer rows(1);
  found->fetch(rows, odbc::kAllRows);
  std::vector<ado::Cell> cell(1);
  for (std::size_t row = 0; row < rows.rows(); ++row) {
    rows.read_row(row, cell);
    master->execute(join({u"KILL ", decimal(cell[0].integer)}));
  }
}

std::unique_ptr<ado::EngineSession> ScratchDatabase::session() {
  auto session = engine_.connect(ado::ConnectionString::parse(login_string()));
  session->set_default_database(name_);
  session->execute(join({u"EXEC sp_setapprole '", role(), u"','", role_password(), u"'"}));
  return session;
}

}  // namespace tarnwick::odbc_test
