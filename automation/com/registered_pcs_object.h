#pragma once

#include "automation/com/automation_object.h"

namespace tarnwick::automation::com {

class RegisteredPCsObject final : public AutomationObject<ClassId::kRegisteredPCs> {
 public:
  using AutomationObject::AutomationObject;

  STDMETHODIMP Refresh(VARIANT_BOOL* value) override { return call<"Refresh">(value); }
  STDMETHODIMP Add(BSTR sMACNumber, short iCompID, BSTR sComputerID, BSTR sActivatedBy,
                   DATE datActivateDate, VARIANT_BOOL bActive, ::MaintTypeEnum eMaintenanceType,
                   short iImageIndex, BSTR sLastUser, DATE datLastLogin, long lTotalLogins,
                   BSTR sDeActivatedBy, DATE datDeActivatedDate, BSTR sSoftLock,
                   BSTR sSoftwareVersion, _RegisteredPC** value) override {
    return call<"Add">(value, sMACNumber, iCompID, sComputerID, sActivatedBy, datActivateDate,
                       bActive, eMaintenanceType, iImageIndex, sLastUser, datLastLogin,
                       lTotalLogins, sDeActivatedBy, datDeActivatedDate, sSoftLock,
                       sSoftwareVersion);
  }
  STDMETHODIMP AddPCObject(_RegisteredPC* oPC, VARIANT_BOOL* value) override {
    return call<"AddPCObject">(value, oPC);
  }
  STDMETHODIMP Exists(BSTR sRegPC, VARIANT_BOOL* value) override {
    return call<"Exists">(value, sRegPC);
  }
  STDMETHODIMP get_Item(VARIANT vntIndexKey, _RegisteredPC** value) override {
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
