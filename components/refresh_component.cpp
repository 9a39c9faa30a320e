#include "components/refresh_component.h"

#include "components/component_properties.h"
#include "components/report_code.h"
#include "records/column_values.h"
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
    load_properties(*rows, *component);
    // The mark of a change stays: what was loaded counts as changed until it was updated.
    result = true;
  });
}

}  // namespace tarnwick
