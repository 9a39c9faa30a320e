#include "automation/insertion.h"

#include "components/component.h"
#include "pcs/registered_pc.h"
#include "reports/report.h"
#include "runtime/error.h"

namespace tarnwick::automation {

bool is_record(const Class& of) { return find_member(of, "LockRecord") != nullptr; }

UpdateErrorEnum insert(const Object& record, TextView full_report_name) {
  if (record.class_id == ClassId::kReport) {
    return static_cast<Report*>(record.instance.get())->insert(full_report_name);
  }
  if (!full_report_name.empty()) throw Error(ErrorNumber::kInvalidProcedureCall);
  if (record.class_id == ClassId::kComponent) {
    return static_cast<Component*>(record.instance.get())->insert();
  }
  return static_cast<RegisteredPC*>(record.instance.get())->insert();
}

}  // namespace tarnwick::automation
