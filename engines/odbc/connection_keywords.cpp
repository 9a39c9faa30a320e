#include "engines/odbc/connection_keywords.h"

#include <array>
#include <utility>

#include "ado/error.h"
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

enum class Encryption { kOptional, kMandatory, kStrict };

constexpr std::uint32_t kLongestTimeout = 32767;
constexpr std::uint32_t kLastPort = 65535;

[[noreturn]] void refuse(TextView item, TextView why) {
  throw AdoError(AdoErrorNumber::kInvalidArgument,
                 join({u"The connection string item \"", item, u"\" ", why}));
}

bool is_one_of(TextView value, std::initializer_list<TextView> words) {
  for (const TextView word : words) {
    if (equals_ignoring_case(value, word)) return true;
  }
  return false;
}

std::optional<bool> flag(TextView value) {
  if (is_one_of(value, {u"yes", u"true", u"1"})) return true;
  if (is_one_of(value, {u"no", u"false", u"0"})) return false;
  return std::nullopt;
}

std::optional<std::uint32_t> number(TextView value, std::uint32_t last) {
  std::uint32_t result = 0;
  for (const char16_t c : value) {
    if (c < u'0' || c > u'9') return std::nullopt;
    result = result * 10 + static_cast<std::uint32_t>(c - u'0');
    if (result > last) return std::nullopt;
  }
  if (value.empty()) return std::nullopt;
  return result;
}

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

/// "host", "host,port", "host\instance", with or without "tcp:" in front.
struct Server {
  Text host;
  Text instance;
  std::optional<std::uint32_t> port;
};

Server read_server(TextView item, TextView value) {
  Server server;
  if (value.size() >= 4 && equals_ignoring_case(value.substr(0, 4), u"tcp:")) {
    value.remove_prefix(4);
  }
  const std::size_t comma = value.find(u',');
  if (comma != TextView::npos) {
    server.port = number(trim(value.substr(comma + 1)), kLastPort);
    if (!server.port || *server.port == 0) refuse(item, u"has no valid port behind its comma.");
    value = value.substr(0, comma);
  }
  const std::size_t backslash = value.find(u'\\');
  if (backslash != TextView::npos) {
    server.instance = trim(value.substr(backslash + 1));
    value = value.substr(0, backslash);
  }
  server.host = trim(value);
  if (server.host == u"." || equals_ignoring_case(server.host, u"(local)")) {
    server.host = u"localhost";
  }
  // Other protocols than TCP are written "np:" or "lpc:"; an IPv6 address has several colons.
  const Text host = fold(server.host);
  const bool other_protocol = host.starts_with(u"np:") || host.starts_with(u"lpc:");
  if (server.host.empty() || other_protocol) refuse(item, u"names no server to reach by TCP/IP.");
  return server;
}

/// The OLE DB items, read and checked.
struct Items {
  Text provider;
  std::optional<Server> server;
  std::optional<Text> database;
  std::optional<Text> user;
  std::optional<Text> password;
  std::optional<Text> application;
  bool integrated = false;
  std::optional<Encryption> encryption;
  Text encryption_item;
  std::optional<bool> trust_certificate;
  Text trust_item;
  std::optional<std::uint32_t> timeout;
};

Encryption read_encryption(const ConnectionString::Item& item) {
  if (is_one_of(item.value, {u"mandatory"})) return Encryption::kMandatory;
  if (is_one_of(item.value, {u"optional"})) return Encryption::kOptional;
  if (is_one_of(item.value, {u"strict"})) return Encryption::kStrict;
  const std::optional<bool> on = flag(item.value);
  if (!on) refuse(item.name, u"has a value that is not known.");
  return *on ? Encryption::kMandatory : Encryption::kOptional;
}

bool read_flag(const ConnectionString::Item& item) {
  const std::optional<bool> value = flag(item.value);
  if (!value) refuse(item.name, u"has a value that is not known.");
  return *value;
}

std::uint32_t read_timeout(const ConnectionString::Item& item) {
  const std::optional<std::uint32_t> seconds = number(item.value, kLongestTimeout);
  if (!seconds) refuse(item.name, u"is no number of seconds.");
  return *seconds;
}

void read_item(Items& items, const ConnectionString::Item& item) {
  const auto is = [&](TextView name) { return equals_ignoring_case(item.name, name); };
  if (is(u"Provider")) {
    items.provider = item.value;
  } else if (is(u"OLE DB Services")) {
    // Switches services of the OLE DB run-time, which has no part in an ODBC connection.
  } else if (is(u"Data Source")) {
    items.server = read_server(item.name, item.value);
  } else if (is(u"Initial Catalog")) {
    items.database = item.value;
  } else if (is(u"User ID")) {
    items.user = item.value;
  } else if (is(u"Password")) {
    items.password = item.value;
  } else if (is(u"Application Name")) {
    items.application = item.value;
  } else if (is(u"Integrated Security")) {
    items.integrated = equals_ignoring_case(item.value, u"SSPI") || read_flag(item);
  } else if (is(u"Encrypt") || is(u"Use Encryption for Data")) {
    if (items.encryption) refuse(item.name, u"is given twice under two names.");
    items.encryption = read_encryption(item);
    items.encryption_item = item.name;
  } else if (is(u"Trust Server Certificate")) {
    items.trust_certificate = read_flag(item);
    items.trust_item = item.name;
  } else if (is(u"Connect Timeout")) {
    items.timeout = read_timeout(item);
  } else {
    refuse(item.name, u"is not known.");
  }
}

/// The encryption in force: without an item that of the provider that was asked for, whatever the
/// default of the driver that serves it here.
Encryption encryption_of(const Items& items) {
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
    refuse(item, u"holds \"};\", which the installed ODBC driver cannot be given.");
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

void add_microsoft_server(ConnectText& text, const Server& server) {
  // A port makes the instance's name idle, for the server too.
  if (server.port) {
    text.add(u"Server", join({u"tcp:", server.host, u",", decimal(*server.port)}));
  } else if (!server.instance.empty()) {
    text.add(u"Server", join({server.host, u"\\", server.instance}));
  } else {
    text.add(u"Server", server.host);
  }
}

void add_free_tds_server(ConnectText& text, const Server& server) {
  constexpr std::uint32_t kDefaultPort = 1433;
  const bool by_name = !server.port && !server.instance.empty();
  text.add(u"Server", by_name ? join({server.host, u"\\", server.instance}) : server.host);
  if (!by_name) text.add(u"Port", decimal(server.port.value_or(kDefaultPort)));
}

void add_microsoft_encryption(ConnectText& text, const Items& items, DriverKind kind) {
  const Encryption encryption = encryption_of(items);
  if (encryption == Encryption::kStrict && kind != DriverKind::kMicrosoft18) {
    refuse(items.encryption_item, u"asks for what the installed ODBC driver cannot do.");
  }
  switch (encryption) {
    case Encryption::kOptional:
      text.add(u"Encrypt", u"no");
      break;
    case Encryption::kMandatory:
      text.add(u"Encrypt", u"yes");
      break;
    case Encryption::kStrict:
      text.add(u"Encrypt", u"strict");
      break;
  }
  const bool trust = items.trust_certificate.value_or(false);
  if (kind == DriverKind::kMicrosoftOld) {
    // It always checks the certificate and does not know the keyword.
    if (trust) refuse(items.trust_item, u"asks for what the installed ODBC driver cannot do.");
    return;
  }
  if (trust) text.add(u"TrustServerCertificate", u"yes");
}

void add_free_tds_encryption(ConnectText& text, const Items& items) {
  const Encryption encryption = encryption_of(items);
  const bool check_certificate = !items.trust_certificate.value_or(true);
  if (encryption == Encryption::kStrict) {
    refuse(items.encryption_item, u"asks for what the installed ODBC driver cannot do.");
  }
  if (check_certificate) {
    refuse(items.trust_item, u"asks for what the installed ODBC driver cannot do.");
  }
  // "request" encrypts the login wherever the server can, as Microsoft's drivers do without an
  // encryption of the data; "off" would bare the password.
  text.add(u"Encryption", encryption == Encryption::kMandatory ? u"require" : u"request");
}

OdbcConnect connect_by_ole_db_items(const ConnectionString& string,
                                    std::span<const Text> installed) {
  Items items;
  for (const ConnectionString::Item& item : string.items()) read_item(items, item);
  if (!items.server) refuse(u"Data Source", u"is missing.");

  const Driver& driver = choose_driver(installed);
  const bool free_tds = driver.kind == DriverKind::kFreeTds;
  ConnectText text(free_tds);
  text.add_driver(driver.name);
  if (free_tds) {
    add_free_tds_server(text, *items.server);
    text.add(u"TDS_Version", u"7.4");
  } else {
    add_microsoft_server(text, *items.server);
  }
  if (items.database) text.add(u"Database", *items.database, u"Initial Catalog");
  if (items.integrated) {
    text.add(u"Trusted_Connection", u"yes");
  } else {
    text.add(u"UID", items.user.value_or(Text()), u"User ID");
    text.add(u"PWD", items.password.value_or(Text()), u"Password");
  }
  if (items.application) text.add(u"APP", *items.application, u"Application Name");
  if (free_tds) {
    add_free_tds_encryption(text, items);
  } else {
    add_microsoft_encryption(text, items, driver.kind);
  }
  return {text.take(), items.password.value_or(Text()), items.timeout, true};
}

bool is_in_braces(TextView value) {
  if (value.size() < 2 || value.front() != u'{' || value.back() != u'}') return false;
  const TextView inside = value.substr(1, value.size() - 2);
  for (std::size_t i = inside.find(u'}'); i != TextView::npos; i = inside.find(u'}', i + 2)) {
    if (i + 1 == inside.size() || inside[i + 1] != u'}') return false;
  }
  return true;
}

Text without_braces(TextView value) {
  if (!is_in_braces(value)) return Text(value);
  Text result;
  for (std::size_t i = 1; i + 1 < value.size(); ++i) {
    result += value[i];
    if (value[i] == u'}') ++i;
  }
  return result;
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

/// Items of OLE DB that have another name in ODBC; the public reference of the OLE DB provider for
/// ODBC lists them.
TextView odbc_name(TextView item) {
  if (equals_ignoring_case(item, u"Data Source")) return u"DSN";
  if (equals_ignoring_case(item, u"Initial Catalog")) return u"Database";
  if (equals_ignoring_case(item, u"User ID")) return u"UID";
  if (equals_ignoring_case(item, u"Password")) return u"PWD";
  return item;
}

OdbcConnect connect_by_odbc_items(const ConnectionString& string) {
  OdbcConnect result;
  const bool free_tds = names_free_tds(string);
  for (const ConnectionString::Item& item : string.items()) {
    if (is_one_of(item.name, {u"Provider", u"OLE DB Services"})) continue;
    if (equals_ignoring_case(item.name, u"Connect Timeout")) {
      result.timeout = read_timeout(item);
      continue;
    }
    const TextView name = odbc_name(item.name);
    if (name.find_first_of(u"=;{}") != TextView::npos) refuse(item.name, u"is not known.");
    if (equals_ignoring_case(name, u"PWD")) result.password = without_braces(item.value);
    result.text.append(name).append(u"=").append(passed_on(item, free_tds)).append(u";");
  }
  return result;
}

}  // namespace

Text odbc_value(TextView value) {
  const bool plain = value.find_first_of(u"[]{}();?*=!@") == TextView::npos &&
                     !value.starts_with(u' ') && !value.ends_with(u' ');
  if (plain) return Text(value);
  Text result = u"{";
  for (const char16_t c : value) {
    result += c;
    if (c == u'}') result += c;
  }
  return result += u'}';
}

OdbcConnect odbc_connect(const ConnectionString& string, std::span<const Text> drivers) {
  for (const ConnectionString::Item& item : string.items()) {
    // ODBC's texts end at a NUL: the rest of the string would be lost.
    if (item.value.find(u'\0') != Text::npos) refuse(item.name, u"holds a NUL character.");
  }
  const Text provider = fold(string.find(u"Provider").value_or(Text()));
  if (provider.starts_with(u"msdasql")) return connect_by_odbc_items(string);
  return connect_by_ole_db_items(string, drivers);
}

}  // namespace tarnwick::odbc
