#include "engines/odbc/diagnostics.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <optional>

namespace tarnwick::odbc {
namespace {

using ado::AdoError;
using ado::AdoErrorNumber;

// SQL Server's own numbers, from its public list of database engine errors.
constexpr std::array kLoginNatives{4060,  4064,  15161, 18450, 18451, 18452, 18456,
                                   18458, 18459, 18461, 18470, 18486, 18487, 18488};
constexpr std::array kPermissionNatives{229, 230, 262, 297, 300, 916};
constexpr int kNoSuchDatabase = 911;
constexpr std::array kIntegrityNatives{515, 547, 2601, 2627};
// A session that is being killed, a server that shuts down, a connection dropped for its security
// context; the last four are FreeTDS's numbers for a socket that broke.
constexpr std::array kLostNatives{596, 6005, 6006, 18059, 20004, 20006, 20017, 20047};

constexpr SQLSMALLINT kLongestText = 16384;  // a longer one is cut

template <std::size_t N>
bool holds(const std::array<int, N>& numbers, std::int32_t number) {
  return std::find(numbers.begin(), numbers.end(), number) != numbers.end();
}

bool in_class(const Diagnostic& record, std::string_view state_class) {
  return record.sqlstate.starts_with(state_class);
}

AdoErrorNumber number_of(const Diagnostic& record) {
  if (in_class(record, "28") || holds(kLoginNatives, record.native)) {
    return AdoErrorNumber::kAuthenticationFailed;
  }
  if (holds(kPermissionNatives, record.native)) return AdoErrorNumber::kPermissionDenied;
  if (in_class(record, "23") || holds(kIntegrityNatives, record.native)) {
    return AdoErrorNumber::kIntegrityViolation;
  }
  // "37" and "S0" are what drivers of ODBC 2 call "42".
  if (record.native == kNoSuchDatabase || in_class(record, "42") || in_class(record, "37") ||
      in_class(record, "S0")) {
    return AdoErrorNumber::kCommandError;
  }
  return AdoErrorNumber::kUnspecified;
}

// A driver may put remarks and its own summary beside what the server said. The server's word
// counts first, then that of the driver, then a remark.
Diagnostic most_telling(std::vector<Diagnostic> records) {
  const auto rank = [](const Diagnostic& record) {
    if (in_class(record, "01") || in_class(record, "00")) return 2;
    return record.native != 0 ? 0 : 1;
  };
  const auto best =
      std::min_element(records.begin(), records.end(),
                       [&](const Diagnostic& a, const Diagnostic& b) { return rank(a) < rank(b); });
  if (best == records.end()) return {"HY000", 0, u"The ODBC driver failed without saying why."};
  return std::move(*best);
}

bool connection_dead(const Handle& handle) {
  if (handle.connection() == SQL_NULL_HANDLE) return false;
  SQLUINTEGER dead = SQL_CD_FALSE;
  const SQLRETURN result = handle.api().get_connect_attr(
      handle.connection(), SQL_ATTR_CONNECTION_DEAD, &dead, SQL_IS_UINTEGER, nullptr);
  return SQL_SUCCEEDED(result) && dead == SQL_CD_TRUE;
}

bool tells_of_loss(const Diagnostic& record) {
  // "08004" is the word of a server that is there; FreeTDS says so of an unknown database.
  const bool broken = in_class(record, "08") && record.sqlstate != "08004";
  return broken || holds(kLostNatives, record.native);
}

bool tells_of_lock_timeout(const Diagnostic& record) {
  return record.native == ado::kNativeLockTimeout;
}

}  // namespace

std::vector<Diagnostic> read_diagnostics(const Handle& handle) {
  std::vector<Diagnostic> records;
  std::vector<char16_t> text(1024);
  for (SQLSMALLINT number = 1;; ++number) {
    std::array<char16_t, 6> state{};
    SQLINTEGER native = 0;
    SQLSMALLINT length = 0;
    const auto read = [&] {
      return handle.api().get_diag_rec(handle.type(), handle.get(), number, wide(state.data()),
                                       &native, wide(text.data()),
                                       static_cast<SQLSMALLINT>(text.size()), &length);
    };
    SQLRETURN result = read();
    if (SQL_SUCCEEDED(result) && length >= 0 && static_cast<std::size_t>(length) >= text.size() &&
        length <= kLongestText) {
      text.resize(static_cast<std::size_t>(length) + 1);
      result = read();
    }
    if (!SQL_SUCCEEDED(result)) return records;
    // Whatever length a driver claims, the text ends at its NUL.
    const auto end = std::find(text.begin(), text.end(), u'\0');
    records.push_back({to_display_utf8(TextView(state.data())), static_cast<std::int32_t>(native),
                       Text(text.begin(), end)});
  }
}

void raise_diagnostics(const Handle& handle) {
  std::vector<Diagnostic> records = read_diagnostics(handle);
  // A connection that is gone outweighs all that was said before it went.
  const auto lost = std::find_if(records.begin(), records.end(), tells_of_loss);
  if (lost != records.end()) {
    throw ado::ConnectionLost(AdoErrorNumber::kUnspecified, lost->text, lost->native,
                              lost->sqlstate);
  }
  const bool timed_out = std::any_of(records.begin(), records.end(), tells_of_lock_timeout);
  if (timed_out) throw ado::lock_timeout();
  Diagnostic record = most_telling(std::move(records));
  if (connection_dead(handle)) {
    throw ado::ConnectionLost(AdoErrorNumber::kUnspecified, std::move(record.text), record.native,
                              record.sqlstate);
  }
  const AdoErrorNumber number = number_of(record);
  throw AdoError(number, std::move(record.text), record.native, record.sqlstate);
}

void raise_connect_diagnostics(const Handle& connection, TextView password) {
  std::vector<Diagnostic> records = read_diagnostics(connection);
  // Beside a refused login drivers also report that there is no connection.
  const bool refused = std::any_of(records.begin(), records.end(), [](const Diagnostic& record) {
    return number_of(record) == AdoErrorNumber::kAuthenticationFailed;
  });
  Diagnostic record = most_telling(std::move(records));
  const AdoErrorNumber number =
      refused ? AdoErrorNumber::kAuthenticationFailed : AdoErrorNumber::kUnspecified;
  if (!password.empty() && record.text.find(password) != Text::npos) {
    record.text = u"The connection failed; the driver's text is withheld, it holds the password.";
  }
  throw AdoError(number, std::move(record.text), record.native, record.sqlstate);
}

AdoError without_statement_text(const AdoError& error) {
  constexpr std::int32_t kNoSuchProcedure = 2812;
  constexpr std::int32_t kNotInProcedure = 15422;
  const bool about_role = error.native() == kNoSuchProcedure || error.native() == kNotInProcedure ||
                          holds(kLoginNatives, error.native()) ||
                          holds(kPermissionNatives, error.native());
  if (about_role) return error;
  return AdoError(static_cast<AdoErrorNumber>(error.number()),
                  u"The application role could not be entered; the text is withheld, it may hold a "
                  u"part of the password.",
                  error.native(), error.sqlstate());
}

}  // namespace tarnwick::odbc
