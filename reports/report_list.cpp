#include "reports/report_list.h"

#include "reports/report_properties.h"

namespace tarnwick {

const Text& report_list() {
  static const Text statement = [] {
    Text columns;
    for_each_property<Report>([&](const auto& property) {
      columns.append(columns.empty() ? u"" : u", ").append(property.reading.column);
    });
    return join({u"Select ", columns, u"  From  DW_Reports  Order By ReportName"});
  }();
  return statement;
}

}  // namespace tarnwick
