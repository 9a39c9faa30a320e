#pragma once

#include "automation/com/com.h"

namespace tarnwick::automation::com {

/// An object behind the interfaces: counts the references to it, of which it begins with one, and
/// ends with the last.
template <class... Interfaces>
class Counted : public Interfaces... {
 public:
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

  STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
    if (out == nullptr) return E_POINTER;
    *out = find_interface(iid);
    if (*out == nullptr) return E_NOINTERFACE;
    AddRef();
    return S_OK;
  }
  STDMETHODIMP_(ULONG) AddRef() override {
    return static_cast<ULONG>(InterlockedIncrement(&references_));
  }
  STDMETHODIMP_(ULONG) Release() override {
    const LONG left = InterlockedDecrement(&references_);
    if (left == 0) delete this;
    return static_cast<ULONG>(left);
  }

 protected:
  Counted() = default;
  virtual ~Counted() = default;

  /// The interface of this object with that identifier; null for an unknown one.
  virtual void* find_interface(REFIID iid) = 0;

 private:
  volatile LONG references_ = 1;
};

}  // namespace tarnwick::automation::com
