#pragma once

#include "ado/connection_string.h"
#include "runtime/text.h"

namespace tarnwick::odbc {

/// Whether the whole value stands in braces, the closing ones inside doubled.
[[nodiscard]] bool is_in_braces(TextView value);

/// The value without the braces that it stands in.
[[nodiscard]] Text without_braces(TextView value);

/// What ODBC calls an item of OLE DB, where the two differ; the public reference of the OLE DB
/// provider for ODBC lists them.
[[nodiscard]] TextView odbc_name(TextView item);

/// The items, behind them those in "Extended Properties", which is where the data-link dialog puts
/// ODBC's own string; what both have counts as the first says it.
[[nodiscard]] ado::ConnectionString with_extended_properties(const ado::ConnectionString& string);

}  // namespace tarnwick::odbc
