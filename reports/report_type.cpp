#include "reports/report_type.h"

#include "runtime/case_mapping.h"

namespace tarnwick {

ReportTypesEnum report_type_from_code(TextView code) {
  return upper(code) == u"CRY" ? CrystalReport_rt : None_rt;
}

Text report_type_to_code(ReportTypesEnum type) {
  return type == CrystalReport_rt ? Text(u"CRY") : Text();
}

}  // namespace tarnwick
