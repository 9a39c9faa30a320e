#include "server/required_tables.h"

#include <algorithm>
#include <span>

#include "components/component_properties.h"
#include "pcs/registered_pc_properties.h"
#include "reports/report_properties.h"
#include "runtime/case_mapping.h"

namespace tarnwick {
namespace {

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
template <class Record>
Text lack_of(ado::Connection& connection) {
  constexpr TextView kTable = Properties<Record>::kTable;
  const auto present = connection.columns_of(kTable);
  if (!present) return {};
  if (present->empty()) return join({u"The table ", kTable, u" is missing."});
  const Text names = names_missing_from(*present, required_columns<Record>());
  if (names.empty()) return {};
  return join({u"The table ", kTable, u" lacks: ", names, u"."});
}

}  // namespace

void require_tables(ado::Connection& connection) {
  Text lacks;
  for (const Text& lack : {lack_of<Component>(connection), lack_of<RegisteredPC>(connection),
                           lack_of<Report>(connection)}) {
    if (!lack.empty()) lacks.append(lacks.empty() ? u"" : u" ").append(lack);
  }
  if (!lacks.empty()) throw ado::AdoError(ado::AdoErrorNumber::kCommandError, std::move(lacks));
}

}  // namespace tarnwick
