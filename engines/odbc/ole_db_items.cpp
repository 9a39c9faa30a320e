#include "engines/odbc/ole_db_items.h"

#include <array>
#include <initializer_list>
#include <utility>

#include "ado/error.h"
#include "runtime/case_mapping.h"

namespace tarnwick::odbc {
namespace {

using Item = ado::ConnectionString::Item;

constexpr std::uint32_t kLongestTimeout = 32767;
constexpr std::uint32_t kLastPort = 65535;
constexpr std::uint32_t kSmallestPacket = 512;
constexpr std::uint32_t kLargestPacket = 32767;

// What Windows' data-link dialog and SQL Server's providers write beside the items that matter. It
// speaks of conversions between 8-bit character sets (all texts here are wide), of how statements
// are prepared, of several statements at once on a connection (one at a time is all that is asked),
// of dialogs and of reconnecting, which an application role does not survive.
constexpr std::initializer_list<TextView> kMeaningless{u"Asynchronous Processing",
                                                       u"Auto Translate",
                                                       u"Bind Flags",
                                                       u"Connect Retry Count",
                                                       u"Connect Retry Interval",
                                                       u"DataTypeCompatibility",
                                                       u"Lock Owner",
                                                       u"MARS Connection",
                                                       u"Mode",
                                                       u"MultipleActiveResultSets",
                                                       u"Replication server name connect option",
                                                       u"Tag with column collation when possible",
                                                       u"Transparent Network IP Resolution",
                                                       u"Use FMTONLY",
                                                       u"Use Procedure for Prepare"};

// Demands that are not served; the dialog writes them without a value.
constexpr std::initializer_list<TextView> kWithoutValueOnly{
    u"Extended Properties",  u"Failover Partner",
    u"Failover Partner SPN", u"Host Name In Certificate",
    u"Network Address",      u"Server SPN",
    u"Authentication"};

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

Server read_server(const Item& item) {
  Server server;
  TextView value = item.value;
  if (value.size() >= 4 && equals_ignoring_case(value.substr(0, 4), u"tcp:")) {
    value.remove_prefix(4);
  }
  const std::size_t comma = value.find(u',');
  if (comma != TextView::npos) {
    server.port = number(trim(value.substr(comma + 1)), kLastPort);
    if (!server.port || *server.port == 0) {
      refuse_item(item.name, u"has no valid port behind its comma.");
    }
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
  if (server.host.empty() || other_protocol) {
    refuse_item(item.name, u"names no server to reach by TCP/IP.");
  }
  return server;
}

[[noreturn]] void refuse_value(const Item& item) {
  refuse_item(item.name, u"has a value that is not known.");
}

bool read_flag(const Item& item) {
  if (is_one_of(item.value, {u"yes", u"true", u"1"})) return true;
  if (!is_one_of(item.value, {u"no", u"false", u"0"})) refuse_value(item);
  return false;
}

void read_encryption(OleDbItems& items, const Item& item) {
  if (items.encryption) refuse_item(item.name, u"is given twice under two names.");
  items.encryption_item = item.name;
  const auto is = [&](TextView word) { return equals_ignoring_case(item.value, word); };
  if (is(u"strict")) {
    items.encryption = Encryption::kStrict;
  } else {
    const bool mandatory = is(u"mandatory") || (!is(u"optional") && read_flag(item));
    items.encryption = mandatory ? Encryption::kMandatory : Encryption::kOptional;
  }
}

void read_intent(OleDbItems& items, const Item& item) {
  items.reads_only = equals_ignoring_case(item.value, u"ReadOnly");
  items.intent_item = item.name;
  if (!items.reads_only && !is_one_of(item.value, {u"ReadWrite", u""})) refuse_value(item);
}

void read_packet_size(OleDbItems& items, const Item& item) {
  const std::optional<std::uint32_t> size = number(item.value, kLargestPacket);
  // 0 is the server's own default.
  if (!size || (*size != 0 && *size < kSmallestPacket)) {
    refuse_item(item.name, u"is no size from 512 to 32767.");
  }
  if (*size != 0) items.packet_size = size;
}

/// Whether the item was one that an ODBC connection has a word for.
bool read_text(OleDbItems& items, const Item& item) {
  const std::array<std::pair<TextView, std::optional<Text>*>, 6> targets{{
      {u"Initial Catalog", &items.database},
      {u"User ID", &items.user},
      {u"Password", &items.password},
      {u"Application Name", &items.application},
      {u"Workstation ID", &items.workstation},
      {u"Current Language", &items.language},
  }};
  for (const auto& [name, target] : targets) {
    if (!equals_ignoring_case(item.name, name)) continue;
    if (!item.value.empty()) *target = item.value;
    return true;
  }
  return false;
}

void read_item(OleDbItems& items, const Item& item) {
  const auto is = [&](std::initializer_list<TextView> names) {
    return is_one_of(item.name, names);
  };
  if (ado::ConnectionString::is_for_ole_db(item.name) || is_one_of(item.name, kMeaningless) ||
      read_text(items, item)) {
    return;
  }
  if (is({u"Provider"})) {
    items.provider = item.value;
  } else if (is({u"Data Source"})) {
    items.server = read_server(item);
  } else if (is({u"Integrated Security"})) {
    items.integrated = equals_ignoring_case(item.value, u"SSPI") || read_flag(item);
  } else if (is({u"Encrypt", u"Use Encryption for Data"})) {
    read_encryption(items, item);
  } else if (is({u"Trust Server Certificate"})) {
    items.trust_certificate = read_flag(item);
    items.trust_item = item.name;
  } else if (is({u"Connect Timeout"})) {
    items.connect_timeout = read_timeout(item);
  } else if (is({u"General Timeout"})) {
    items.general_timeout = read_timeout(item);
  } else if (is({u"Packet Size"})) {
    read_packet_size(items, item);
  } else if (is({u"Application Intent", u"ApplicationIntent"})) {
    read_intent(items, item);
  } else if (is({u"MultiSubnetFailover"})) {
    items.fails_over_by_subnet = read_flag(item);
  } else if (is({u"Initial File Name", u"AttachDBFileName"})) {
    if (!item.value.empty()) items.database_file = item.value;
  } else if (is({u"Network Library"})) {
    if (!is_one_of(item.value, {u"", u"DBMSSOCN"})) {
      refuse_item(item.name, u"asks for another protocol than TCP/IP.");
    }
  } else if (!is_one_of(item.name, kWithoutValueOnly)) {
    refuse_item(item.name, u"is not known.");
  } else if (!item.value.empty()) {
    refuse_item(item.name, u"asks for what is not supported.");
  }
}

}  // namespace

OleDbItems read_ole_db_items(const ado::ConnectionString& string) {
  OleDbItems items;
  for (const Item& item : string.items()) read_item(items, item);
  if (!items.server) refuse_item(u"Data Source", u"is missing.");
  return items;
}

std::uint32_t read_timeout(const Item& item) {
  const std::optional<std::uint32_t> seconds = number(item.value, kLongestTimeout);
  if (!seconds) refuse_item(item.name, u"is no number of seconds.");
  return *seconds;
}

void refuse_item(TextView item, TextView why) {
  throw ado::AdoError(ado::AdoErrorNumber::kInvalidArgument,
                      join({u"The connection string item \"", item, u"\" ", why}));
}

}  // namespace tarnwick::odbc
