#pragma once

#include <optional>
#include <span>

#include "ado/connection_string.h"
#include "runtime/text.h"

namespace tarnwick::odbc {

/// What a connection string means to ODBC.
struct OdbcConnect {
  Text text;      // for SQLDriverConnect
  Text password;  // which no message may hold; may be empty
  // Seconds for the login, and for what is no statement; 0 waits for ever.
  std::optional<std::uint32_t> connect_timeout;
  std::optional<std::uint32_t> general_timeout;
  std::optional<std::uint32_t> packet_size;  // where the driver knows no keyword for it
  bool for_sql_server = false;               // the provider serves no other kind of server
  bool for_free_tds = false;                 // as far as the string tells
};

/// Turns an OLE DB connection string for SQL Server into one for the best of the installed
/// `drivers`: Microsoft's, the newer first, before FreeTDS. With Provider=MSDASQL the items are
/// passed on as they stand, whatever driver they name.
/// Throws AdoError for an item or a value that it does not know and for a demand that the driver
/// would drop without a word (the text names the item and never its value), and 3706 when no driver
/// is installed.
[[nodiscard]] OdbcConnect odbc_connect(const ado::ConnectionString& string,
                                       std::span<const Text> drivers);

/// The words that make FreeTDS end what is no statement after this time, in front of the others;
/// those of a DSN-less string of ODBC's own items still count more.
[[nodiscard]] Text with_free_tds_timeout(TextView text, std::uint32_t seconds);

/// `value` as an ODBC connection string can hold it: in braces, a closing one doubled, where it
/// has characters that mean something there.
[[nodiscard]] Text odbc_value(TextView value);

}  // namespace tarnwick::odbc
