#pragma once

#include "automation/com/automation_object.h"

namespace tarnwick::automation::com {

class RegisteredPCObject final : public AutomationObject<ClassId::kRegisteredPC> {
 public:
  using AutomationObject::AutomationObject;

  STDMETHODIMP get_MACNumber(BSTR* value) override { return call<"MACNumber">(value); }
  STDMETHODIMP put_MACNumber(BSTR value) override { return let<"MACNumber">(value); }
  STDMETHODIMP get_ComputerID(BSTR* value) override { return call<"ComputerID">(value); }
  STDMETHODIMP put_ComputerID(BSTR value) override { return let<"ComputerID">(value); }
  STDMETHODIMP get_CompID(short* value) override { return call<"CompID">(value); }
  STDMETHODIMP put_CompID(short value) override { return let<"CompID">(value); }
  STDMETHODIMP get_MaintenanceType(::MaintTypeEnum* value) override {
    return call<"MaintenanceType">(value);
  }
  STDMETHODIMP put_MaintenanceType(::MaintTypeEnum value) override {
    return let<"MaintenanceType">(value);
  }
  STDMETHODIMP get_Active(VARIANT_BOOL* value) override { return call<"Active">(value); }
  STDMETHODIMP put_Active(VARIANT_BOOL value) override { return let<"Active">(value); }
  STDMETHODIMP get_ImageIndex(short* value) override { return call<"ImageIndex">(value); }
  STDMETHODIMP put_ImageIndex(short value) override { return let<"ImageIndex">(value); }
  STDMETHODIMP get_LastUser(BSTR* value) override { return call<"LastUser">(value); }
  STDMETHODIMP put_LastUser(BSTR value) override { return let<"LastUser">(value); }
  STDMETHODIMP get_LastLogin(DATE* value) override { return call<"LastLogin">(value); }
  STDMETHODIMP put_LastLogin(DATE value) override { return let<"LastLogin">(value); }
  STDMETHODIMP get_TotalLogins(long* value) override { return call<"TotalLogins">(value); }
  STDMETHODIMP put_TotalLogins(long value) override { return let<"TotalLogins">(value); }
  STDMETHODIMP get_ActivatedBy(BSTR* value) override { return call<"ActivatedBy">(value); }
  STDMETHODIMP put_ActivatedBy(BSTR value) override { return let<"ActivatedBy">(value); }
  STDMETHODIMP get_ActivateDate(DATE* value) override { return call<"ActivateDate">(value); }
  STDMETHODIMP put_ActivateDate(DATE value) override { return let<"ActivateDate">(value); }
  STDMETHODIMP get_DeActivatedBy(BSTR* value) override { return call<"DeActivatedBy">(value); }
  STDMETHODIMP put_DeActivatedBy(BSTR value) override { return let<"DeActivatedBy">(value); }
  STDMETHODIMP get_DeActivatedDate(DATE* value) override { return call<"DeActivatedDate">(value); }
  STDMETHODIMP put_DeActivatedDate(DATE value) override { return let<"DeActivatedDate">(value); }
  STDMETHODIMP get_SoftLock(BSTR* value) override { return call<"SoftLock">(value); }
  STDMETHODIMP get_RowVersion(BSTR* value) override { return call<"RowVersion">(value); }
  STDMETHODIMP get_SoftwareVersion(BSTR* value) override { return call<"SoftwareVersion">(value); }
  STDMETHODIMP put_SoftwareVersion(BSTR value) override { return let<"SoftwareVersion">(value); }
  STDMETHODIMP get_Key(BSTR* value) override { return call<"Key">(value); }
  STDMETHODIMP get_Changed(VARIANT_BOOL* value) override { return call<"Changed">(value); }
  STDMETHODIMP get_Initialized(VARIANT_BOOL* value) override { return call<"Initialized">(value); }
  STDMETHODIMP get_Locked(VARIANT_BOOL* value) override { return call<"Locked">(value); }
  STDMETHODIMP LockRecord(VARIANT_BOOL* value) override { return call<"LockRecord">(value); }
  STDMETHODIMP ReleaseRecord(VARIANT_BOOL* value) override { return call<"ReleaseRecord">(value); }
  STDMETHODIMP Refresh(VARIANT_BOOL* value) override { return call<"Refresh">(value); }
  STDMETHODIMP Update(::UpdateErrorEnum* value) override { return call<"Update">(value); }
  STDMETHODIMP Delete(VARIANT_BOOL* value) override { return call<"Delete">(value); }
  STDMETHODIMP get_LastErrorMsg(BSTR* value) override { return call<"LastErrorMsg">(value); }
  STDMETHODIMP get_LastErrorNumber(long* value) override { return call<"LastErrorNumber">(value); }
};

}  // namespace tarnwick::automation::com
