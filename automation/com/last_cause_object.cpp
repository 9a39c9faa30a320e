#include "automation/com/last_cause_object.h"

#include <array>

namespace tarnwick::automation::com {
namespace {

// For late-bound calls, which take no arguments: the results come from the object itself.
std::span<const Member> members() {
  constexpr auto property = [](std::string_view name, Kind kind) {
    return Member{name, Member::Access::kGet, {kind, {}, {}}, {}, false, nullptr, nullptr};
  };
  static const std::array<Member, 6> all{
      property("Kind", Kind::kInt32),
      property("Number", Kind::kInt32),
      property("NativeNumber", Kind::kInt32),
      property("NativeText", Kind::kText),
      property("OutcomeUnknown", Kind::kBoolean),
      Member{"Clear", Member::Access::kMethod, {}, {}, false, nullptr, nullptr}};
  return all;
}

}  // namespace

LastCauseObject::LastCauseObject(Apartment& apartment)
    : DispatchObject(apartment, members(), LastCauseClass::kProgId) {}

void* LastCauseObject::find_interface(REFIID iid) {
  if (iid == IID_IProvideClassInfo) return static_cast<IProvideClassInfo*>(this);
  return DispatchObject::find_interface(iid);
}

template <class Out, class Read>
HRESULT LastCauseObject::tell(Out* value, Read read) noexcept {
  if (value == nullptr) return E_POINTER;
  clear(value);
  return reporting([&] { *value = read(apartment().causes().of(calling_client())); });
}

STDMETHODIMP LastCauseObject::get_Kind(::FailureKindEnum* value) {
  return tell(value,
              [](const FailureCause& cause) { return static_cast<::FailureKindEnum>(cause.kind); });
}

STDMETHODIMP LastCauseObject::get_Number(long* value) {
  return tell(value, [](const FailureCause& cause) { return cause.number; });
}

STDMETHODIMP LastCauseObject::get_NativeNumber(long* value) {
  return tell(value, [](const FailureCause& cause) { return cause.native; });
}

STDMETHODIMP LastCauseObject::get_NativeText(BSTR* value) {
  return tell(value, [](const FailureCause& cause) { return to_bstr(cause.text); });
}

STDMETHODIMP LastCauseObject::get_OutcomeUnknown(VARIANT_BOOL* value) {
  return tell(value, [](const FailureCause& cause) {
    return cause.outcome_unknown ? VARIANT_TRUE : VARIANT_FALSE;
  });
}

STDMETHODIMP LastCauseObject::Clear() {
  return reporting([&] { apartment().causes().forget(calling_client()); });
}

STDMETHODIMP LastCauseObject::GetClassInfo(ITypeInfo** info) {
  if (info == nullptr) return E_POINTER;
  *info = nullptr;
  return reporting(
      [&] { *info = apartment().types().type_info(LastCauseClass::clsid()).Detach(); });
}

}  // namespace tarnwick::automation::com
