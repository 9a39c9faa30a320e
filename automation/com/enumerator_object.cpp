#include "automation/com/enumerator_object.h"

#include <utility>

#include "automation/com/errors.h"
#include "automation/com/values.h"

namespace tarnwick::automation::com {
namespace {

constexpr const wchar_t* kSource = L"Tarnwick";

}  // namespace

EnumeratorObject::EnumeratorObject(Apartment& apartment, std::shared_ptr<Enumerator> walk)
    : apartment_(apartment), walk_(std::move(walk)) {
  apartment_.life().hold();
}

EnumeratorObject::~EnumeratorObject() { apartment_.life().release(); }

STDMETHODIMP EnumeratorObject::QueryInterface(REFIID iid, void** out) {
  if (out == nullptr) return E_POINTER;
  *out = nullptr;
  if (iid != IID_IUnknown && iid != IID_IEnumVARIANT) return E_NOINTERFACE;
  AddRef();
  *out = static_cast<IEnumVARIANT*>(this);
  return S_OK;
}

STDMETHODIMP_(ULONG) EnumeratorObject::AddRef() {
  return static_cast<ULONG>(InterlockedIncrement(&references_));
}

STDMETHODIMP_(ULONG) EnumeratorObject::Release() {
  const LONG left = InterlockedDecrement(&references_);
  if (left == 0) delete this;
  return static_cast<ULONG>(left);
}

STDMETHODIMP EnumeratorObject::Next(ULONG wanted, VARIANT* values, ULONG* fetched) {
  if (values == nullptr || (fetched == nullptr && wanted != 1)) return E_POINTER;
  for (ULONG i = 0; i < wanted; ++i) VariantInit(&values[i]);
  ULONG given = 0;
  try {
    for (; given < wanted; ++given) {
      const Object object = walk_->next();
      if (!object) break;
      give(apartment_, object, &values[given]);
    }
  } catch (...) {
    for (ULONG i = 0; i < given; ++i) VariantClear(&values[i]);
    if (fetched != nullptr) *fetched = 0;
    return report_exception(kSource, IID_IEnumVARIANT);
  }
  if (fetched != nullptr) *fetched = given;
  return given == wanted ? S_OK : S_FALSE;
}

STDMETHODIMP EnumeratorObject::Skip(ULONG count) {
  try {
    for (; count > 0; --count) {
      if (!walk_->next()) return S_FALSE;
    }
    return S_OK;
  } catch (...) {
    return report_exception(kSource, IID_IEnumVARIANT);
  }
}

STDMETHODIMP EnumeratorObject::Reset() {
  try {
    walk_->reset();
    return S_OK;
  } catch (...) {
    return report_exception(kSource, IID_IEnumVARIANT);
  }
}

STDMETHODIMP EnumeratorObject::Clone(IEnumVARIANT** clone) {
  if (clone == nullptr) return E_POINTER;
  *clone = nullptr;
  try {
    *clone = new EnumeratorObject(apartment_, walk_->clone());
    return S_OK;
  } catch (...) {
    return report_exception(kSource, IID_IEnumVARIANT);
  }
}

}  // namespace tarnwick::automation::com
