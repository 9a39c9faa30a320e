#pragma once

#include <functional>
#include <utility>

#include "automation/com/counted.h"

namespace tarnwick::test_support {

/// An object of a client: what it does when it is asked for something is up to the test.
class OwnObject final : public automation::com::Counted<IDispatch> {
 public:
  /// `asked`: by another process, for an interface that it does not have. `value`: for what it
  /// stands for.
  explicit OwnObject(std::function<void()> asked, std::function<HRESULT(VARIANT&)> value = {})
      : asked_(std::move(asked)), value_(std::move(value)) {}

  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    *count = 0;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
    return DISP_E_UNKNOWNNAME;
  }
  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD, DISPPARAMS*, VARIANT* result, EXCEPINFO*,
                      UINT*) override {
    if (id != DISPID_VALUE || !value_ || result == nullptr) return DISP_E_MEMBERNOTFOUND;
    return value_(*result);
  }

 private:
  void* find_interface(REFIID iid) override {
    if (iid == IID_IUnknown || iid == IID_IDispatch) return static_cast<IDispatch*>(this);
    // On the thread that hands it on it is COM that asks, to carry it to the other process.
    if (GetCurrentThreadId() != own_thread_) asked_();
    return nullptr;
  }

  DWORD own_thread_ = GetCurrentThreadId();
  std::function<void()> asked_;
  std::function<HRESULT(VARIANT&)> value_;
};

}  // namespace tarnwick::test_support
