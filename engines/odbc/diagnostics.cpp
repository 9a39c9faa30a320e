#include "engines/odbc/diagnostics.h"

#include <algorithm>
#include <array>
#include <initializer_list>
#include <optional>

namespace tarnwick::odbc {
namespace {

using ado::AdoError;
using ado::AdoErrorNumber;
using ado::FailureKind;

// SQL Server's own numbers, from its public list of database engine errors.
constexpr std::array kLoginNatives{4060,  4064,  15161, 18450, 18451, 18452, 18456,
                                   18458, 18459, 18461, 18470, 18486, 18487, 18488};
constexpr std::array kPermissionNatives{229, 230, 262, 297, 300, 916};
constexpr int kNoSuchDatabase = 911;
constexpr std::array kIntegrityNatives{515, 547, 2601, 2627};
// A session that is being killed, a server that shuts down, a connection dropped for its security
// context; the last four are FreeTDS's numbers for a socket that broke.
constexpr std::array kLostNatives{596, 6005, 6006, 18059, 20004, 20006, 20017, 20047};

// No room left: in tempdb, in a file group, in the log, for row versions, on the disk, in an
// edition's or a subscription's bounds.
constexpr std::array kDiskFullNatives{1101, 1105, 1827, 3959, 5149, 9002, 40544};

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

// What the number does not tell. A class that starts with "22" is a value that the server refuses.
std::optional<FailureKind> kind_of(const Diagnostic& record) {
  if (record.native == kNativeDeadlock || record.sqlstate == "40001") return FailureKind::kDeadlock;
  if (holds(kDiskFullNatives, record.native)) return FailureKind::kDiskFull;
  if (in_class(record, "22")) return FailureKind::kRefused;
  return std::nullopt;
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

// "S1T00" is the word of ODBC 2. Some drivers say so of a lock time-out, too.
bool tells_of_timeout(const Diagnostic& record) {
  const bool by_state = in_class(record, "HYT") || record.sqlstate == "S1T00";
  return by_state && record.native != ado::kNativeLockTimeout;
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
  const auto first = [&](bool (*tells)(const Diagnostic&)) {
    return std::find_if(records.begin(), records.end(), tells);
  };
  const auto timeout = first(tells_of_timeout);
  const auto lost = first(tells_of_loss);
  // A connection that is gone outweighs all that was said before it went.
  if (lost != records.end() || connection_dead(handle)) {
    if (timeout != records.end()) {
      throw connection_lost(timeout->text, timeout->native, timeout->sqlstate,
                            AdoErrorNumber::kTimeout);
    }
    if (records.empty()) throw connection_lost();
    const Diagnostic record = lost != records.end() ? *lost : most_telling(std::move(records));
    throw connection_lost(record.text, record.native, record.sqlstate);
  }
  if (first(tells_of_lock_timeout) != records.end()) throw ado::lock_timeout();
  if (timeout != records.end()) {
    throw AdoError(AdoErrorNumber::kTimeout, Text(description_of(AdoErrorNumber::kTimeout)),
                   timeout->native, timeout->sqlstate);
  }
  Diagnostic record = most_telling(std::move(records));
  const AdoErrorNumber number = number_of(record);
  const std::optional<FailureKind> kind = kind_of(record);
  throw AdoError(number, std::move(record.text), record.native, record.sqlstate, kind);
}

ado::ConnectionLost connection_lost(TextView drivers_text, std::int32_t native,
                                    std::string sqlstate, AdoErrorNumber number) {
  Text text = u"The connection to the database server is lost.";
  if (!drivers_text.empty()) text.append(u" ").append(drivers_text);
  return ado::ConnectionLost(number, std::move(text), native, std::move(sqlstate));
}

bool is_unclear(const AdoError& error) {
  // "S1000" is the word of ODBC 2.
  return error.native() == 0 && (error.sqlstate() == "HY000" || error.sqlstate() == "S1000");
}

void raise_connect_diagnostics(const Handle& connection, TextView password) {
  std::vector<Diagnostic> records = read_diagnostics(connection);
  // Beside a refused login drivers also report that there is no connection.
  const bool refused = std::any_of(records.begin(), records.end(), [](const Diagnostic& record) {
    return number_of(record) == AdoErrorNumber::kAuthenticationFailed;
  });
  Diagnostic record = most_telling(std::move(records));
  AdoErrorNumber number = AdoErrorNumber::kUnspecified;
  if (refused) number = AdoErrorNumber::kAuthenticationFailed;
  if (!refused && tells_of_timeout(record)) {
    number = AdoErrorNumber::kTimeout;
    record.text = description_of(number);
  }
  if (!password.empty() && record.text.find(password) != Text::npos) {
    record.text = u"The connection failed; the driver's text is withheld, it holds the password.";
  }
  throw AdoError(number, std::move(record.text), record.native, record.sqlstate);
}

AdoError without_statement_text(const AdoError& error, bool well_formed) {
  constexpr std::int32_t kNoSuchProcedure = 2812;
  constexpr std::int32_t kNotInProcedure = 15422;
  const bool about_role = error.native() == kNoSuchProcedure || error.native() == kNotInProcedure ||
                          holds(kLoginNatives, error.native()) ||
                          holds(kPermissionNatives, error.native());
  if (about_role && well_formed) return error;
  return AdoError(static_cast<AdoErrorNumber>(error.number()),
                  u"The application role could not be entered; the text is withheld, it may hold a "
                  u"part of the password.",
                  error.native(), error.sqlstate(), error.kind());
}

}  // namespace tarnwick::odbc
