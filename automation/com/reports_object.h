#pragma once

#include "automation/com/automation_object.h"

namespace tarnwick::automation::com {

class ReportsObject final : public AutomationObject<ClassId::kReports> {
 public:
  using AutomationObject::AutomationObject;

  STDMETHODIMP Exists(BSTR sReportName, VARIANT_BOOL* value) override {
    return call<"Exists">(value, sReportName);
  }
  STDMETHODIMP get_Initialized(VARIANT_BOOL* value) override { return call<"Initialized">(value); }
  STDMETHODIMP get_Changed(VARIANT_BOOL* value) override { return call<"Changed">(value); }
  STDMETHODIMP get_ValidObject(VARIANT_BOOL* value) override { return call<"ValidObject">(value); }
  STDMETHODIMP get_LastErrorMsg(BSTR* value) override { return call<"LastErrorMsg">(value); }
  STDMETHODIMP get_LastErrorNumber(long* value) override { return call<"LastErrorNumber">(value); }
  STDMETHODIMP AddReportObject(_Report* oReport, VARIANT_BOOL* value) override {
    return call<"AddReportObject">(value, oReport);
  }
  STDMETHODIMP Refresh(VARIANT_BOOL* value) override { return call<"Refresh">(value); }
  STDMETHODIMP Add(BSTR sReportName, BSTR sTitle, BSTR sAuthor, DATE datCreated, BSTR sVersion,
                   BSTR sReportGroupID, short iImageIndex, BSTR sSQL, BSTR sTTX,
                   ::ReportTypesEnum eReportType, BSTR sDescription, short iMaintenanceType,
                   BSTR sRowVersion, BSTR sDefinition, _Report** value) override {
    return call<"Add">(value, sReportName, sTitle, sAuthor, datCreated, sVersion, sReportGroupID,
                       iImageIndex, sSQL, sTTX, eReportType, sDescription, iMaintenanceType,
                       sRowVersion, sDefinition);
  }
  STDMETHODIMP get_Item(VARIANT vntIndexKey, _Report** value) override {
    return call<"Item">(value, vntIndexKey);
  }
  STDMETHODIMP get_Count(long* value) override { return call<"Count">(value); }
  STDMETHODIMP get_NewEnum(IUnknown** value) override { return call<"NewEnum">(value); }
};

}  // namespace tarnwick::automation::com
