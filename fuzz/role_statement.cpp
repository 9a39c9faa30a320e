// What clients give as application role and its password, on both engines: they stand in a
// statement as they are, which enters a role or is refused and does nothing else, and of which no
// log and no account shows the password.

#include <algorithm>
#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "ado/error.h"
#include "ado/trace.h"
#include "engines/odbc/engine.h"
#include "engines/sqlite/engine.h"
#include "engines/sqlite/scanner.h"
#include "engines/sqlite/session_statement.h"
#include "fuzz/quiet_host.h"
#include "fuzz/target.h"
#include "server/server.h"
#include "state/shared_state.h"
#include "tests/engines/odbc/scripted_odbc.h"
#include "tests/support/embedded_database.h"

namespace tarnwick::fuzz {
namespace {

using test_support::EmbeddedDatabase;

// Stands in passwords, and nowhere else.
constexpr TextView kSecret = u"Hunter#2";

class Lines final : public ado::Trace {
 public:
  void line(TextView text) override { lines_.emplace_back(text); }
  std::vector<Text> take() { return std::exchange(lines_, {}); }

 private:
  std::vector<Text> lines_;
};

struct Outcome {
  bool connected = false;
  std::vector<Text> told;  // to logs and to the client
};

class Process {
 public:
  Process(ado::Engine& engine, std::filesystem::path folder)
      : host_(std::move(folder)), state_(host_, {&engine}, &lines_), server_(state_) {}

  Outcome connect(TextView string, TextView role, TextView password) {
    Outcome outcome;
    outcome.connected = server_.set_connection(string, role, password);
    outcome.told = lines_.take();
    outcome.told.push_back(state_.errors.message());
    return outcome;
  }

 private:
  Lines lines_;
  QuietHost host_;
  SharedState state_;
  Server server_;
};

bool holds(TextView text, TextView part) { return text.find(part) != TextView::npos; }

bool is_unmarked(TextView text) { return text.find(u'\'') == TextView::npos; }

std::string doubled(std::string_view text) {
  std::string marked;
  for (const char each : text) marked.append(each == '\'' ? 2 : 1, each);
  return "'" + marked + "'";
}

// Whether nothing stands in the statement beside these two texts.
bool says_only(std::string_view statement, const sqlite::SetAppRole& role) {
  const std::string start = "EXEC sp_setapprole " + doubled(role.role);
  const std::string end = doubled(role.password);
  if (statement.size() < start.size() + end.size() || !statement.starts_with(start) ||
      !statement.ends_with(end)) {
    return false;
  }
  std::string between;
  for (const char each :
       statement.substr(start.size(), statement.size() - start.size() - end.size())) {
    if (!sqlite::Scanner::is_blank(each)) between += each;
  }
  return between == "," || between == ",N" || between == ",n";
}

// Whatever letters the texts are made of.
bool can_be_read(TextView statement) {
  std::string ascii;
  for (const char16_t unit : statement) ascii += unit < 0x80 ? static_cast<char>(unit) : 'x';
  try {
    return sqlite::parse_session_statement(ascii).has_value();
  } catch (const ado::AdoError&) {
    return false;
  }
}

// What a server says of a statement that it refuses: of one that is no call of the procedure and
// nothing else, with some of its words; and of a role or a right with their names.
odbc::Diagnostic refusal(Input& input, TextView statement, bool plain) {
  constexpr std::array<std::int32_t, 8> kNatives{2812, 15422, 18456, 229, 102, 105, 0, 911};
  const std::int32_t native = kNatives[input.choice(kNatives.size())];
  const bool about_role = native != 102 && native != 105 && native != 0 && native != 911;
  Text text = u"Refused";
  if (!plain || !about_role) text = join({u"Refused: ", statement});
  return {"42000", native, std::move(text)};
}

void try_server(Input& input, TextView role, TextView password, const Text& statement) {
  odbc_test::ScriptedOdbc driver;
  if (input.choice(4) != 0) {
    driver.on(u"EXEC sp_setapprole",
              {{.error = refusal(input, statement, can_be_read(statement))}});
  }
  odbc::OdbcEngine engine(driver);
  Process process(engine, "/nonexistent");
  const Outcome outcome =
      process.connect(u"Provider=SQLOLEDB;Data Source=h;User ID=a", role, password);
  std::vector<Text> executed = driver.take_log();
  std::erase_if(executed, [](const Text& line) { return !line.starts_with(u"exec EXEC"); });
  require(executed == std::vector{join({u"exec ", statement})},
          "the server gets the statement, whole, and once");
  if (holds(role, kSecret) || !holds(password, kSecret)) return;
  for (const Text& line : outcome.told) require(!holds(line, kSecret), "the password is not told");
}

void try_embedded(TextView role, TextView password, const Text& statement) {
  static const EmbeddedDatabase database;
  static sqlite::SqliteEngine engine;
  static Process process(engine, database.folder());
  static const auto protected_rows = [] {
    return database.value("SELECT group_concat(RoleName || quote(Hash)) FROM DW_APP_ROLE") +
           database.value("SELECT group_concat(sql) FROM sqlite_schema");
  };
  static const std::string before = protected_rows();

  bool admitted = false;
  bool readable = false;
  try {
    const auto parsed = sqlite::parse_session_statement(to_utf8(statement));
    require(parsed.has_value(), "the statement concerns the session");
    const auto* entered = std::get_if<sqlite::SetAppRole>(&*parsed);
    require(entered != nullptr, "the statement enters a role");
    require(says_only(to_utf8(statement), *entered), "what is entered is all that was asked for");
    if (is_unmarked(role) && is_unmarked(password)) {
      require(entered->role == to_utf8(role) && entered->password == to_utf8(password),
              "what goes in comes out");
    }
    readable = true;
    // Refusing a role that is none takes as long as admitting one does.
    if (entered->role != "Maintainer") return;
    admitted = entered->password == "sesame" && !holds(statement, Text(1, u'\0'));
  } catch (const ado::AdoError&) {
    require(!is_unmarked(role) || !is_unmarked(password), "plain texts can be read");
  } catch (const Error&) {
    // An unpaired surrogate, which the engine finds too.
  }
  const Outcome outcome = process.connect(database.connection_string(), role, password);
  require(outcome.connected == admitted, "the password alone decides");
  require(!outcome.connected || readable, "what cannot be read admits nobody");
  require(protected_rows() == before, "nothing else is done");
  if (holds(role, kSecret) || !holds(password, kSecret)) return;
  for (const Text& line : outcome.told) require(!holds(line, kSecret), "the password is not told");
}

Text text_of(Input& input, bool as_units) {
  return as_units ? input.text() : from_stored_utf8(input.piece());
}

}  // namespace

void attempt(Input input) {
  const std::size_t way = input.choice(32);
  const bool as_units = (way & 8) != 0;
  Text role = (way & 1) != 0 ? Text(EmbeddedDatabase::kRole) : Text();
  role += text_of(input, as_units);
  Text password = (way & 2) != 0 ? Text(EmbeddedDatabase::kPassword) : Text();
  password += text_of(input, as_units);
  if ((way & 4) != 0) password += join({kSecret, text_of(input, as_units)});
  const Text statement = join({u"EXEC sp_setapprole '", role, u"','", password, u"'"});
  require(
      ado::without_role_password(statement) ==
          ado::without_role_password(join({u"EXEC sp_setapprole '", role, u"','", kSecret, u"'"})),
      "what is shown says nothing of the password");
  if ((way & 16) != 0) return try_server(input, role, password, statement);
  try_embedded(role, password, statement);
}

}  // namespace tarnwick::fuzz
