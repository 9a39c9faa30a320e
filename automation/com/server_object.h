#pragma once

#include "automation/com/automation_object.h"

namespace tarnwick::automation::com {

class ServerObject final : public AutomationObject<ClassId::kServer> {
 public:
  using AutomationObject::AutomationObject;

  STDMETHODIMP get_Initialized(VARIANT_BOOL* value) override { return call<"Initialized">(value); }
  STDMETHODIMP get_LastErrorMsg(BSTR* value) override { return call<"LastErrorMsg">(value); }
  STDMETHODIMP get_LastErrorNumber(long* value) override { return call<"LastErrorNumber">(value); }
  STDMETHODIMP get_Reports(_Reports** value) override { return call<"Reports">(value); }
  STDMETHODIMP get_RegisteredPCs(_RegisteredPCs** value) override {
    return call<"RegisteredPCs">(value);
  }
  STDMETHODIMP get_Components(_Components** value) override { return call<"Components">(value); }
  STDMETHODIMP SetConnection(BSTR sConnectString, BSTR sAppRole, BSTR sAppPassword,
                             VARIANT_BOOL* value) override {
    return call<"SetConnection">(value, sConnectString, sAppRole, sAppPassword);
  }
  STDMETHODIMP Refresh(VARIANT_BOOL* value) override { return call<"Refresh">(value); }
};

}  // namespace tarnwick::automation::com
