#include "automation/com/enumerator_object.h"

#include <utility>

#include "automation/com/counted.h"
#include "automation/com/errors.h"
#include "automation/com/values.h"

namespace tarnwick::automation::com {
namespace {

constexpr const wchar_t* kSource = L"Tarnwick";

class EnumeratorObject final : public Counted<IEnumVARIANT> {
 public:
  EnumeratorObject(Apartment& apartment, std::shared_ptr<Enumerator> walk)
      : apartment_(apartment), walk_(std::move(walk)) {
    apartment_.life().hold();
  }

  STDMETHODIMP Next(ULONG wanted, VARIANT* values, ULONG* fetched) override {
    if (values == nullptr || (fetched == nullptr && wanted != 1)) return E_POINTER;
    for (ULONG i = 0; i < wanted; ++i) VariantInit(&values[i]);
    ULONG given = 0;
    const Apartment::Turn turn = apartment_.wait_for_turn();
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

  STDMETHODIMP_(ULONG) Release() override {
    const Apartment::Turn turn = apartment_.wait_for_turn();
    return Counted::Release();
  }

  STDMETHODIMP Skip(ULONG count) override try {
    const Apartment::Turn turn = apartment_.wait_for_turn();
    for (; count > 0; --count) {
      if (!walk_->next()) return S_FALSE;
    }
    return S_OK;
  } catch (...) {
    return report_exception(kSource, IID_IEnumVARIANT);
  }

  STDMETHODIMP Reset() override try {
    const Apartment::Turn turn = apartment_.wait_for_turn();
    walk_->reset();
    return S_OK;
  } catch (...) {
    return report_exception(kSource, IID_IEnumVARIANT);
  }

  STDMETHODIMP Clone(IEnumVARIANT** clone) override try {
    if (clone == nullptr) return E_POINTER;
    *clone = nullptr;
    const Apartment::Turn turn = apartment_.wait_for_turn();
    *clone = new EnumeratorObject(apartment_, walk_->clone());
    return S_OK;
  } catch (...) {
    return report_exception(kSource, IID_IEnumVARIANT);
  }

 private:
  ~EnumeratorObject() override { apartment_.life().release(); }

  void* find_interface(REFIID iid) override {
    const bool known = iid == IID_IUnknown || iid == IID_IEnumVARIANT;
    return known ? static_cast<IEnumVARIANT*>(this) : nullptr;
  }

  Apartment& apartment_;
  std::shared_ptr<Enumerator> walk_;
};

}  // namespace

IEnumVARIANT* new_enumerator(Apartment& apartment, std::shared_ptr<Enumerator> walk) {
  return new EnumeratorObject(apartment, std::move(walk));
}

}  // namespace tarnwick::automation::com
