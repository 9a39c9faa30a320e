#pragma once

#include "automation/com/dispatch_object.h"

namespace tarnwick::automation::com {

/// Tells every client why the last of its calls that failed did so. Has no state of its own: all
/// objects of the class tell one client the same.
class LastCauseObject final : public DispatchObject<::_LastCause> {
 public:
  explicit LastCauseObject(Apartment& apartment);

  STDMETHODIMP get_Kind(::FailureKindEnum* value) override;
  STDMETHODIMP get_Number(long* value) override;
  STDMETHODIMP get_NativeNumber(long* value) override;
  STDMETHODIMP get_NativeText(BSTR* value) override;
  STDMETHODIMP get_OutcomeUnknown(VARIANT_BOOL* value) override;
  STDMETHODIMP Clear() override;
  STDMETHODIMP GetClassInfo(ITypeInfo** info) override;

 protected:
  void* find_interface(REFIID iid) override;

 private:
  /// Hands out what `read` finds in the calling client's cause.
  template <class Out, class Read>
  HRESULT tell(Out* value, Read read) noexcept;
};

}  // namespace tarnwick::automation::com
