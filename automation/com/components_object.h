#pragma once

#include "automation/com/automation_object.h"

namespace tarnwick::automation::com {

class ComponentsObject final : public AutomationObject<ClassId::kComponents> {
 public:
  using AutomationObject::AutomationObject;

  STDMETHODIMP Refresh(VARIANT_BOOL* value) override { return call<"Refresh">(value); }
  STDMETHODIMP Add(short iCompID, BSTR sComponentName, short iParentID, short iPriority,
                   short iImageIndex, VARIANT_BOOL bForceDisplay, short iMaintenanceType,
                   ::ReportCodeEnum eReportCode, BSTR sServerName, BSTR sSecGrpID, BSTR sMetaID,
                   BSTR sAuthRole, _Component** value) override {
    return call<"Add">(value, iCompID, sComponentName, iParentID, iPriority, iImageIndex,
                       bForceDisplay, iMaintenanceType, eReportCode, sServerName, sSecGrpID,
                       sMetaID, sAuthRole);
  }
  STDMETHODIMP AddCompObject(_Component* oComp, VARIANT_BOOL* value) override {
    return call<"AddCompObject">(value, oComp);
  }
  STDMETHODIMP Exists(BSTR sCompID, VARIANT_BOOL* value) override {
    return call<"Exists">(value, sCompID);
  }
  STDMETHODIMP FindMetaID(BSTR sMetaID, _Collection** value) override {
    return call<"FindMetaID">(value, sMetaID);
  }
  STDMETHODIMP get_Item(VARIANT vntIndexKey, _Component** value) override {
    return call<"Item">(value, vntIndexKey);
  }
  STDMETHODIMP get_Count(long* value) override { return call<"Count">(value); }
  STDMETHODIMP get_NewEnum(IUnknown** value) override { return call<"NewEnum">(value); }
  STDMETHODIMP get_Changed(VARIANT_BOOL* value) override { return call<"Changed">(value); }
  STDMETHODIMP get_Initialized(VARIANT_BOOL* value) override { return call<"Initialized">(value); }
  STDMETHODIMP get_LastErrorMsg(BSTR* value) override { return call<"LastErrorMsg">(value); }
  STDMETHODIMP get_LastErrorNumber(long* value) override { return call<"LastErrorNumber">(value); }
};

}  // namespace tarnwick::automation::com
