#include "engines/odbc/driver_lists.h"

#include <algorithm>
#include <array>
#include <utility>

namespace tarnwick::odbc {
namespace {

using List = SQLRETURN (OdbcApi::*)(SQLHENV, SQLUSMALLINT, SQLWCHAR*, SQLSMALLINT, SQLSMALLINT*,
                                    SQLWCHAR*, SQLSMALLINT, SQLSMALLINT*);

template <std::size_t kSize>
Text text_of(const std::array<char16_t, kSize>& buffer) {
  return {buffer.begin(), std::find(buffer.begin(), buffer.end(), u'\0')};
}

/// Each name of the list with what the driver manager says of it.
std::vector<std::pair<Text, Text>> read_list(const Handle& environment, List list) {
  std::vector<std::pair<Text, Text>> lines;
  std::array<char16_t, 512> name{};
  std::array<char16_t, 2048> more{};
  SQLUSMALLINT direction = SQL_FETCH_FIRST;
  while (true) {
    SQLSMALLINT name_length = 0;
    SQLSMALLINT more_length = 0;
    const SQLRETURN result = (environment.api().*list)(
        environment.get(), direction, wide(name.data()), static_cast<SQLSMALLINT>(name.size()),
        &name_length, wide(more.data()), static_cast<SQLSMALLINT>(more.size()), &more_length);
    if (result == SQL_NO_DATA) return lines;
    environment.check(result);
    lines.emplace_back(text_of(name), text_of(more));
    direction = SQL_FETCH_NEXT;
  }
}

}  // namespace

std::vector<Text> list_drivers(const Handle& environment) {
  std::vector<Text> names;
  for (auto& [name, attributes] : read_list(environment, &OdbcApi::drivers)) {
    names.push_back(std::move(name));
  }
  return names;
}

std::vector<DataSource> list_data_sources(const Handle& environment) {
  std::vector<DataSource> sources;
  for (auto& [name, driver] : read_list(environment, &OdbcApi::data_sources)) {
    sources.push_back({std::move(name), std::move(driver)});
  }
  return sources;
}

}  // namespace tarnwick::odbc
