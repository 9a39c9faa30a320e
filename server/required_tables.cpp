#include "server/required_tables.h"

#include <algorithm>
#include <span>

#include "components/component_list.h"
#include "pcs/pc_list.h"
#include "reports/report_list.h"
#include "runtime/case_mapping.h"

namespace tarnwick {
namespace {

struct RequiredTable {
  TextView name;
  std::span<const TextView> columns;
};

constexpr RequiredTable kTables[] = {{u"DW_SEC_COMP", kComponentColumns},
                                     {u"DW_SEC_PC", kPcColumns},
                                     {u"DW_Reports", kReportColumns}};

Text names_missing_from(const std::vector<Text>& present, std::span<const TextView> required) {
  Text names;
  for (const TextView column : required) {
    const bool there = std::ranges::any_of(
        present, [&](const Text& name) { return equals_ignoring_case(name, column); });
    if (!there) names.append(names.empty() ? u"" : u", ").append(column);
  }
  return names;
}

// A sentence, or nothing when all is there.
Text lack_of(ado::Connection& connection, const RequiredTable& table) {
  const auto present = connection.columns_of(table.name);
  if (!present) return {};
  if (present->empty()) return join({u"The table ", table.name, u" is missing."});
  const Text names = names_missing_from(*present, table.columns);
  if (names.empty()) return {};
  return join({u"The table ", table.name, u" lacks: ", names, u"."});
}

}  // namespace

void require_tables(ado::Connection& connection) {
  Text lacks;
  for (const RequiredTable& table : kTables) {
    const Text lack = lack_of(connection, table);
    if (!lack.empty()) lacks.append(lacks.empty() ? u"" : u" ").append(lack);
  }
  if (!lacks.empty()) throw ado::AdoError(ado::AdoErrorNumber::kCommandError, std::move(lacks));
}

}  // namespace tarnwick
