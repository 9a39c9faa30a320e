#include "components/report_code.h"

#include "runtime/case_mapping.h"

namespace tarnwick {

ReportCodeEnum report_code_from_text(TextView text) {
  const Text code = upper(text);
  if (code == u"CRY") return CrystalRpts_rc;
  if (code == u"PC") return PCs_rc;
  if (code == u"PCA") return PCAll_rc;
  return None_rc;
}

Text report_code_to_text(ReportCodeEnum code) {
  switch (code) {
    case PCs_rc:
      return u"PC";
    case PCAll_rc:
      return u"PCA";
    case CrystalRpts_rc:
      return u"CRY";
    case None_rc:
      break;
  }
  return {};
}

}  // namespace tarnwick
