#include "engines/odbc/connection_keywords.h"

#include <array>
#include <utility>

#include "ado/error.h"
#include "engines/odbc/odbc_items.h"
#include "engines/odbc/ole_db_items.h"
#include "engines/odbc/statement_text.h"
#include "runtime/case_mapping.h"

namespace tarnwick::odbc {
namespace {

using ado::AdoError;
using ado::AdoErrorNumber;
using ado::ConnectionString;

enum class DriverKind { kMicrosoft18, kMicrosoft17, kMicrosoftOld, kFreeTds };

struct Driver {
  DriverKind kind;
  TextView name;
};

constexpr std::array<Driver, 4> kDrivers{{
    {DriverKind::kMicrosoft18, u"ODBC Driver 18 for SQL Server"},
    {DriverKind::kMicrosoft17, u"ODBC Driver 17 for SQL Server"},
    {DriverKind::kMicrosoftOld, u"SQL Server"},
    {DriverKind::kFreeTds, u"FreeTDS"},
}};

const Driver& choose_driver(std::span<const Text> installed) {
  for (const Driver& driver : kDrivers) {
    for (const Text& name : installed) {
      if (equals_ignoring_case(name, driver.name)) return driver;
    }
  }
  throw AdoError(AdoErrorNumber::kProviderNotFound,
                 u"No ODBC driver for SQL Server is installed; known are \"ODBC Driver 18 for SQL "
                 u"Server\", \"ODBC Driver 17 for SQL Server\", \"SQL Server\" and \"FreeTDS\".");
}

/// The encryption in force: without an item that of the provider that was asked for, whatever the
/// default of the driver that serves it here.
Encryption encryption_of(const OleDbItems& items) {
  if (items.encryption) return *items.encryption;
  return fold(items.provider).starts_with(u"msoledbsql19") ? Encryption::kMandatory
                                                           : Encryption::kOptional;
}

/// A value in FreeTDS's own notation. Before its version 1.4 a value in braces ends at "};", and a
/// doubled brace is two: without braces it is safe from the semicolon alone.
Text free_tds_value(TextView item, TextView value) {
  const bool plain = value.find(u';') == TextView::npos && !value.starts_with(u'{') &&
                     !value.starts_with(u' ') && !value.ends_with(u' ');
  if (plain) return Text(value);
  if (value.find(u"};") != TextView::npos) {
    refuse_item(item, u"holds \"};\", which the installed ODBC driver cannot be given.");
  }
  return join({u"{", value, u"}"});
}

class ConnectText {
 public:
  explicit ConnectText(bool free_tds) : free_tds_(free_tds) {}

  void add(TextView name, TextView value) { add(name, value, name); }
  /// `item`: what the connection string calls it.
  void add(TextView name, TextView value, TextView item) {
    text_.append(name).append(u"=");
    text_.append(free_tds_ ? free_tds_value(item, value) : odbc_value(value)).append(u";");
  }
  /// A driver's name always stands in braces.
  void add_driver(TextView name) { text_.append(u"Driver={").append(name).append(u"};"); }
  [[nodiscard]] Text take() { return std::move(text_); }

 private:
  bool free_tds_;
  Text text_;
};

void add_server(ConnectText& text, const Server& server, bool free_tds) {
  constexpr std::uint32_t kDefaultPort = 1433;
  // A port makes the instance's name idle, for the server too.
  const bool by_name = !server.port && !server.instance.empty();
  if (by_name) {
    text.add(u"Server", join({server.host, u"\\", server.instance}));
  } else if (free_tds) {
    text.add(u"Server", server.host);
    text.add(u"Port", decimal(server.port.value_or(kDefaultPort)));
  } else if (server.port) {
    text.add(u"Server", join({u"tcp:", server.host, u",", decimal(*server.port)}));
  } else {
    text.add(u"Server", server.host);
  }
}

[[noreturn]] void refuse_demand(TextView item) {
  refuse_item(item, u"asks for what the installed ODBC driver cannot do.");
}

void add_encryption(ConnectText& text, const OleDbItems& items, DriverKind kind) {
  constexpr TextView kWords[] = {u"no", u"yes", u"strict"};
  const Encryption encryption = encryption_of(items);
  if (encryption == Encryption::kStrict && kind != DriverKind::kMicrosoft18) {
    refuse_demand(items.encryption_item);
  }
  if (kind == DriverKind::kFreeTds) {
    // It never checks the certificate.
    if (!items.trust_certificate.value_or(true)) refuse_demand(items.trust_item);
    // "request" encrypts the login wherever the server can, as Microsoft's drivers do without an
    // encryption of the data; "off" would bare the password.
    text.add(u"Encryption", encryption == Encryption::kMandatory ? u"require" : u"request");
    return;
  }
  text.add(u"Encrypt", kWords[static_cast<std::size_t>(encryption)]);
  if (!items.trust_certificate.value_or(false)) return;
  // The old driver always checks the certificate and does not know the keyword.
  if (kind == DriverKind::kMicrosoftOld) refuse_demand(items.trust_item);
  text.add(u"TrustServerCertificate", u"yes");
}

void add_intent(ConnectText& text, const OleDbItems& items, DriverKind kind) {
  const bool is_new = kind == DriverKind::kMicrosoft18 || kind == DriverKind::kMicrosoft17;
  if (items.reads_only) {
    if (kind == DriverKind::kMicrosoftOld) refuse_demand(items.intent_item);
    text.add(u"ApplicationIntent", u"ReadOnly");
  }
  // It only makes a connect quicker, and other drivers do without.
  if (items.fails_over_by_subnet && is_new) text.add(u"MultiSubnetFailover", u"Yes");
}

OdbcConnect connect_by_ole_db_items(const ConnectionString& string,
                                    std::span<const Text> installed) {
  const OleDbItems items = read_ole_db_items(string);
  const Driver& driver = choose_driver(installed);
  const bool free_tds = driver.kind == DriverKind::kFreeTds;
  ConnectText text(free_tds);
  text.add_driver(driver.name);
  add_server(text, *items.server, free_tds);
  if (free_tds) text.add(u"TDS_Version", u"7.4");
  if (items.database) text.add(u"Database", *items.database, u"Initial Catalog");
  if (items.database_file) {
    text.add(free_tds ? u"AttachDbFilename" : u"AttachDBFileName", *items.database_file,
             u"Initial File Name");
  }
  if (items.integrated) {
    text.add(u"Trusted_Connection", u"yes");
  } else {
    text.add(u"UID", items.user.value_or(Text()), u"User ID");
    text.add(u"PWD", items.password.value_or(Text()), u"Password");
  }
  if (items.application) text.add(u"APP", *items.application, u"Application Name");
  if (items.workstation) text.add(u"WSID", *items.workstation, u"Workstation ID");
  if (items.language) text.add(u"Language", *items.language, u"Current Language");
  add_intent(text, items, driver.kind);
  if (free_tds && items.packet_size) text.add(u"PacketSize", decimal(*items.packet_size));
  add_encryption(text, items, driver.kind);
  return {.text = text.take(),
          .password = items.password.value_or(Text()),
          .connect_timeout = items.connect_timeout,
          .general_timeout = items.general_timeout,
          .packet_size = free_tds ? std::nullopt : items.packet_size,
          .for_sql_server = true,
          .for_free_tds = free_tds};
}

/// The ODBC item's value as it stands, unless it came out of quotes with what only braces can hold,
/// or has braces that FreeTDS would misread.
Text passed_on(const ConnectionString::Item& item, bool free_tds) {
  const TextView value = item.value;
  if (is_in_braces(value)) {
    const bool doubled = value.find(u"}}") != TextView::npos;
    return free_tds && doubled ? free_tds_value(item.name, without_braces(value)) : Text(value);
  }
  const bool needs_braces = value.find(u';') != TextView::npos || value.starts_with(u"{");
  if (!needs_braces) return Text(value);
  return free_tds ? free_tds_value(item.name, value) : odbc_value(value);
}

/// True where a string of ODBC items names FreeTDS, by its entry or by its file.
bool names_free_tds(const ConnectionString& string) {
  const Text driver = fold(without_braces(string.find(u"Driver").value_or(Text())));
  return driver == u"freetds" || driver.find(u"tdsodbc") != Text::npos;
}

OdbcConnect connect_by_odbc_items(const ConnectionString& given) {
  OdbcConnect result;
  const ConnectionString string = with_extended_properties(given);
  const bool free_tds = names_free_tds(string);
  result.for_free_tds = free_tds;
  for (const ConnectionString::Item& item : string.items()) {
    if (ConnectionString::is_for_ole_db(item.name)) continue;
    if (equals_ignoring_case(item.name, u"Provider")) continue;
    if (equals_ignoring_case(item.name, u"Connect Timeout")) {
      result.connect_timeout = read_timeout(item);
      continue;
    }
    if (equals_ignoring_case(item.name, u"General Timeout")) {
      result.general_timeout = read_timeout(item);
      continue;
    }
    const TextView name = odbc_name(item.name);
    if (name.find_first_of(u"=;{}") != TextView::npos) refuse_item(item.name, u"is not known.");
    if (equals_ignoring_case(name, u"PWD")) result.password = without_braces(item.value);
    result.text.append(name).append(u"=").append(passed_on(item, free_tds)).append(u";");
  }
  return result;
}

}  // namespace

Text odbc_value(TextView value) {
  const bool plain = value.find_first_of(u"[]{}();?*=!@") == TextView::npos &&
                     !value.starts_with(u' ') && !value.ends_with(u' ');
  return plain ? Text(value) : in_marks(value, u'{', u'}');
}

Text with_free_tds_timeout(TextView text, std::uint32_t seconds) {
  return join({u"Timeout=", decimal(seconds), u";", text});
}

OdbcConnect odbc_connect(const ConnectionString& string, std::span<const Text> drivers) {
  for (const ConnectionString::Item& item : string.items()) {
    // ODBC's texts end at a NUL: the rest of the string would be lost.
    if (item.value.find(u'\0') != Text::npos) refuse_item(item.name, u"holds a NUL character.");
  }
  const Text provider = fold(string.find(u"Provider").value_or(Text()));
  if (provider.starts_with(u"msdasql")) return connect_by_odbc_items(string);
  return connect_by_ole_db_items(string, drivers);
}

}  // namespace tarnwick::odbc
