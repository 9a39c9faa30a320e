#pragma once

#include <cstdint>
#include <optional>

#include "ado/connection_string.h"
#include "runtime/text.h"

namespace tarnwick::odbc {

/// "host", "host,port", "host\instance", with or without "tcp:" in front.
struct Server {
  Text host;
  Text instance;
  std::optional<std::uint32_t> port;
};

enum class Encryption { kOptional, kMandatory, kStrict };

/// The items of an OLE DB connection string for SQL Server, read and checked. What has a name of
/// its own beside it is called so in messages.
struct OleDbItems {
  Text provider;
  std::optional<Server> server;
  std::optional<Text> database;
  std::optional<Text> database_file;
  std::optional<Text> user;
  std::optional<Text> password;
  std::optional<Text> application;
  std::optional<Text> workstation;
  std::optional<Text> language;
  bool integrated = false;
  std::optional<Encryption> encryption;
  Text encryption_item;
  std::optional<bool> trust_certificate;
  Text trust_item;
  bool reads_only = false;
  Text intent_item;
  bool fails_over_by_subnet = false;
  std::optional<std::uint32_t> packet_size;
  std::optional<std::uint32_t> connect_timeout;
  std::optional<std::uint32_t> general_timeout;
};

/// Throws AdoError for an item or a value that is not known; the text names the item, never its
/// value. Items that mean nothing without the OLE DB run-time or to this engine are passed over.
[[nodiscard]] OleDbItems read_ole_db_items(const ado::ConnectionString& string);

/// Seconds, 0 for ever. Throws as above.
[[nodiscard]] std::uint32_t read_timeout(const ado::ConnectionString::Item& item);

/// Throws the error for an item that cannot be served.
[[noreturn]] void refuse_item(TextView item, TextView why);

}  // namespace tarnwick::odbc
