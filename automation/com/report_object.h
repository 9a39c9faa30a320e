#pragma once

#include "automation/com/automation_object.h"

namespace tarnwick::automation::com {

class ReportObject final : public AutomationObject<ClassId::kReport> {
 public:
  using AutomationObject::AutomationObject;

  STDMETHODIMP get_LastErrorMsg(BSTR* value) override { return call<"LastErrorMsg">(value); }
  STDMETHODIMP get_LastErrorNumber(long* value) override { return call<"LastErrorNumber">(value); }
  STDMETHODIMP Delete(VARIANT_BOOL* value) override { return call<"Delete">(value); }
  STDMETHODIMP Refresh(VARIANT_BOOL* value) override { return call<"Refresh">(value); }
  STDMETHODIMP LockRecord(VARIANT_BOOL* value) override { return call<"LockRecord">(value); }
  STDMETHODIMP ReleaseRecord(VARIANT_BOOL* value) override { return call<"ReleaseRecord">(value); }
  STDMETHODIMP get_Locked(VARIANT_BOOL* value) override { return call<"Locked">(value); }
  STDMETHODIMP get_Initialized(VARIANT_BOOL* value) override { return call<"Initialized">(value); }
  STDMETHODIMP get_Key(BSTR* value) override { return call<"Key">(value); }
  STDMETHODIMP get_Changed(VARIANT_BOOL* value) override { return call<"Changed">(value); }
  STDMETHODIMP Update(BSTR sFullReportName, ::UpdateErrorEnum* value) override {
    return call<"Update">(value, sFullReportName);
  }
  STDMETHODIMP ImportTTX(BSTR sFullPathName, VARIANT_BOOL* value) override {
    return call<"ImportTTX">(value, sFullPathName);
  }
  STDMETHODIMP ExtractTTX(BSTR sFullPathName, VARIANT_BOOL* value) override {
    return call<"ExtractTTX">(value, sFullPathName);
  }
  STDMETHODIMP ExtractReport(BSTR sFullPathName, VARIANT_BOOL* value) override {
    return call<"ExtractReport">(value, sFullPathName);
  }
  STDMETHODIMP get_SoftLock(BSTR* value) override { return call<"SoftLock">(value); }
  STDMETHODIMP get_MaintenanceType(::MaintTypeEnum* value) override {
    return call<"MaintenanceType">(value);
  }
  STDMETHODIMP put_MaintenanceType(::MaintTypeEnum value) override {
    return let<"MaintenanceType">(value);
  }
  STDMETHODIMP get_Description(BSTR* value) override { return call<"Description">(value); }
  STDMETHODIMP put_Description(BSTR value) override { return let<"Description">(value); }
  STDMETHODIMP get_ReportType(::ReportTypesEnum* value) override {
    return call<"ReportType">(value);
  }
  STDMETHODIMP put_ReportType(::ReportTypesEnum value) override { return let<"ReportType">(value); }
  STDMETHODIMP get_ReportTypeAsString(BSTR* value) override {
    return call<"ReportTypeAsString">(value);
  }
  STDMETHODIMP GetReportTypeFromString(BSTR sData, ::ReportTypesEnum* value) override {
    return call<"GetReportTypeFromString">(value, sData);
  }
  STDMETHODIMP get_Definition(BSTR* value) override { return call<"Definition">(value); }
  STDMETHODIMP put_Definition(BSTR value) override { return let<"Definition">(value); }
  STDMETHODIMP get_TTX(BSTR* value) override { return call<"TTX">(value); }
  STDMETHODIMP put_TTX(BSTR value) override { return let<"TTX">(value); }
  STDMETHODIMP get_SQL(BSTR* value) override { return call<"SQL">(value); }
  STDMETHODIMP put_SQL(BSTR value) override { return let<"SQL">(value); }
  STDMETHODIMP get_ImageIndex(short* value) override { return call<"ImageIndex">(value); }
  STDMETHODIMP put_ImageIndex(short value) override { return let<"ImageIndex">(value); }
  STDMETHODIMP get_ReportGroupID(BSTR* value) override { return call<"ReportGroupID">(value); }
  STDMETHODIMP put_ReportGroupID(BSTR value) override { return let<"ReportGroupID">(value); }
  STDMETHODIMP get_Version(BSTR* value) override { return call<"Version">(value); }
  STDMETHODIMP put_Version(BSTR value) override { return let<"Version">(value); }
  STDMETHODIMP get_Created(DATE* value) override { return call<"Created">(value); }
  STDMETHODIMP put_Created(DATE value) override { return let<"Created">(value); }
  STDMETHODIMP get_Author(BSTR* value) override { return call<"Author">(value); }
  STDMETHODIMP put_Author(BSTR value) override { return let<"Author">(value); }
  STDMETHODIMP get_Title(BSTR* value) override { return call<"Title">(value); }
  STDMETHODIMP put_Title(BSTR value) override { return let<"Title">(value); }
  STDMETHODIMP get_Name(BSTR* value) override { return call<"Name">(value); }
  STDMETHODIMP put_Name(BSTR value) override { return let<"Name">(value); }
  STDMETHODIMP get_RowVersion(BSTR* value) override { return call<"RowVersion">(value); }
};

}  // namespace tarnwick::automation::com
