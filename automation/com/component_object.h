#pragma once

#include "automation/com/automation_object.h"

namespace tarnwick::automation::com {

class ComponentObject final : public AutomationObject<ClassId::kComponent> {
 public:
  using AutomationObject::AutomationObject;

  STDMETHODIMP get_CompID(short* value) override { return call<"CompID">(value); }
  STDMETHODIMP get_Name(BSTR* value) override { return call<"Name">(value); }
  STDMETHODIMP get_ParentID(short* value) override { return call<"ParentID">(value); }
  STDMETHODIMP get_Priority(short* value) override { return call<"Priority">(value); }
  STDMETHODIMP get_ImageIndex(short* value) override { return call<"ImageIndex">(value); }
  STDMETHODIMP get_ForceDisplay(VARIANT_BOOL* value) override {
    return call<"ForceDisplay">(value);
  }
  STDMETHODIMP get_MaintenanceType(::MaintTypeEnum* value) override {
    return call<"MaintenanceType">(value);
  }
  STDMETHODIMP get_SecurityGroup(BSTR* value) override { return call<"SecurityGroup">(value); }
  STDMETHODIMP get_ReportCode(::ReportCodeEnum* value) override {
    return call<"ReportCode">(value);
  }
  STDMETHODIMP get_ServerName(BSTR* value) override { return call<"ServerName">(value); }
  STDMETHODIMP get_MetaID(BSTR* value) override { return call<"MetaID">(value); }
  STDMETHODIMP get_AuthorizedRole(BSTR* value) override { return call<"AuthorizedRole">(value); }
  STDMETHODIMP get_RowVersion(BSTR* value) override { return call<"RowVersion">(value); }
  STDMETHODIMP get_SoftLock(BSTR* value) override { return call<"SoftLock">(value); }
  STDMETHODIMP get_Key(BSTR* value) override { return call<"Key">(value); }
  STDMETHODIMP get_Changed(VARIANT_BOOL* value) override { return call<"Changed">(value); }
  STDMETHODIMP get_Initialized(VARIANT_BOOL* value) override { return call<"Initialized">(value); }
  STDMETHODIMP get_Reports(VARIANT* value) override { return call<"Reports">(value); }
  STDMETHODIMP get_LastErrorMsg(BSTR* value) override { return call<"LastErrorMsg">(value); }
  STDMETHODIMP get_LastErrorNumber(long* value) override { return call<"LastErrorNumber">(value); }
  STDMETHODIMP get_PCs(_Collection** value) override { return call<"PCs">(value); }
  STDMETHODIMP Refresh(VARIANT_BOOL* value) override { return call<"Refresh">(value); }
  STDMETHODIMP LockRecord(VARIANT_BOOL* value) override { return call<"LockRecord">(value); }
  STDMETHODIMP get_Locked(VARIANT_BOOL* value) override { return call<"Locked">(value); }
  STDMETHODIMP ReleaseRecord(VARIANT_BOOL* value) override { return call<"ReleaseRecord">(value); }
  STDMETHODIMP Update(::UpdateErrorEnum* value) override { return call<"Update">(value); }
  STDMETHODIMP Delete(VARIANT_BOOL* value) override { return call<"Delete">(value); }
};

}  // namespace tarnwick::automation::com
