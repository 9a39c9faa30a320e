#pragma once

#include <memory>

#include "automation/com/apartment.h"

namespace tarnwick::automation::com {

/// What a client's for-each loop runs on.
class EnumeratorObject final : public IEnumVARIANT {
 public:
  /// Begins with one reference.
  EnumeratorObject(Apartment& apartment, std::shared_ptr<Enumerator> walk);
  EnumeratorObject(const EnumeratorObject&) = delete;
  EnumeratorObject& operator=(const EnumeratorObject&) = delete;

  STDMETHODIMP QueryInterface(REFIID iid, void** out) override;
  STDMETHODIMP_(ULONG) AddRef() override;
  STDMETHODIMP_(ULONG) Release() override;
  STDMETHODIMP Next(ULONG wanted, VARIANT* values, ULONG* fetched) override;
  STDMETHODIMP Skip(ULONG count) override;
  STDMETHODIMP Reset() override;
  STDMETHODIMP Clone(IEnumVARIANT** clone) override;

 private:
  ~EnumeratorObject();

  Apartment& apartment_;
  std::shared_ptr<Enumerator> walk_;
  volatile LONG references_ = 1;
};

}  // namespace tarnwick::automation::com
