#include "components/refresh_component.h"

#include "components/component_setters.h"
#include "components/report_code.h"
#include "records/column_values.h"
#include "records/row_version.h"
#include "state/guard.h"

namespace tarnwick {

bool refresh_component(SharedState& state, ado::Recordset* rows, Component* component) {
  return guarded(state, {u"General", u"RefreshComponent"}, false, [&](bool& result) {
    if (rows == nullptr) {
      raise_message(state, u"Invalid recordset passed to RefreshComponent routine!");
    }
    if (component == nullptr) {
      raise_message(state, u"Invalid component passed to RefreshComponent routine!");
    }
    ado::Recordset& row = *rows;
    ComponentSetters set{*component};
    set.comp_id(to_int16(to_text(row.field(u"CompID").value())));
    set.name(text_or_empty(row, u"CompName"));
    set.parent_id(int16_or(row, u"ParentID", 0));
    set.priority(int16_or(row, u"Priority", 0));
    // A component without a picture shows the first one.
    set.image_index(int16_or(row, u"ImageIndex", 1));
    set.force_display(to_bool(row.field(u"ForceDisplay").value()));
    set.maintenance_type(MaintTypeEnum{to_int32(row.field(u"MaintType").value())});
    set.security_group(text_or_empty(row, u"SecGrpID"));
    set.report_code(report_code_from_text(text_or_empty(row, u"RptCode")));
    set.server_name(text_or_empty(row, u"Server"));
    set.row_version(row_version_text(row.field(u"RowVersion").value()));
    set.meta_id(text_or_empty(row, u"MetaID"));
    set.authorized_role(text_or_empty(row, u"AuthorizedRole"));
    // The mark of a change stays: what was loaded counts as changed until it was updated.
    result = true;
  });
}

}  // namespace tarnwick
