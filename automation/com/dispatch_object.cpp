#include "automation/com/dispatch_object.h"

#include <algorithm>

#include "automation/com/invocation.h"
#include "automation/com/own_variant.h"
#include "automation/com/values.h"

namespace tarnwick::automation::com {
namespace {

/// Whether arguments for the member, which takes none itself, are meant for the object that it
/// gives.
bool names_an_object(const Member& member) {
  const Kind kind = member.result.kind;
  return member.access == Member::Access::kGet && member.arguments.empty() &&
         (kind == Kind::kObject || kind == Kind::kCollection);
}

/// Whether there are as many arguments and names as it says.
bool is_whole(const DISPPARAMS& given) {
  return (given.cArgs == 0 || given.rgvarg != nullptr) &&
         (given.cNamedArgs == 0 || given.rgdispidNamedArgs != nullptr);
}

}  // namespace

DispatchObject::DispatchObject(Apartment& apartment, const DualInterface& dual)
    : apartment_(apartment),
      dual_(dual),
      dual_pointer_{dual.slots, this},
      info_(apartment.types().type_info(dual.iid)) {
  apartment_.life().hold();
}

STDMETHODIMP DispatchObject::GetTypeInfoCount(UINT* count) {
  if (count == nullptr) return E_POINTER;
  *count = 1;
  return S_OK;
}

STDMETHODIMP DispatchObject::GetTypeInfo(UINT index, LCID, ITypeInfo** info) {
  if (info == nullptr) return E_POINTER;
  *info = nullptr;
  if (index != 0) return DISP_E_BADINDEX;
  return info_.CopyTo(info);
}

STDMETHODIMP DispatchObject::GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) {
  if (names == nullptr || ids == nullptr) return E_POINTER;
  if (count == 0) return E_INVALIDARG;
  if (std::find(names, names + count, nullptr) != names + count) return E_POINTER;
  return info_->GetIDsOfNames(names, count, ids);
}

STDMETHODIMP DispatchObject::GetDispID(BSTR name, DWORD, DISPID* id) {
  LPOLESTR names = name;
  return GetIDsOfNames(IID_NULL, &names, 1, 0, id);
}

STDMETHODIMP DispatchObject::InvokeEx(DISPID id, LCID, WORD flags, DISPPARAMS* parameters,
                                      VARIANT* result, EXCEPINFO* exception, IServiceProvider*) {
  if ((flags & DISPATCH_CONSTRUCT) != 0) return DISP_E_MEMBERNOTFOUND;
  UINT culprit = 0;
  return Invoke(id, IID_NULL, 0, flags, parameters, result, exception, &culprit);
}

STDMETHODIMP DispatchObject::GetMemberName(DISPID id, BSTR* name) {
  UINT count = 0;
  return info_->GetNames(id, name, 1, &count);
}

STDMETHODIMP DispatchObject::GetNameSpaceParent(IUnknown** parent) {
  if (parent != nullptr) *parent = nullptr;
  return E_NOTIMPL;
}

STDMETHODIMP DispatchObject::GetClassInfo(ITypeInfo** info) {
  if (info == nullptr) return E_POINTER;
  *info = nullptr;
  return apartment_.types().library().GetTypeInfoOfGuid(*dual_.clsid, info);
}

STDMETHODIMP DispatchObject::InterfaceSupportsErrorInfo(REFIID iid) {
  return iid == dual_.iid ? S_OK : S_FALSE;
}

void DispatchObject::let(const Member&, const Value&) {
  throw Error(ErrorNumber::kInvalidProcedureCall);
}

void* DispatchObject::find_interface(REFIID iid) {
  if (iid == IID_IUnknown || iid == IID_IDispatch || iid == dual_.iid) return identity();
  if (iid == __uuidof(IDispatchEx)) return static_cast<IDispatchEx*>(this);
  if (iid == IID_ISupportErrorInfo) return static_cast<ISupportErrorInfo*>(this);
  if (iid == IID_IProvideClassInfo && dual_.clsid != nullptr) {
    return static_cast<IProvideClassInfo*>(this);
  }
  return nullptr;
}

STDMETHODIMP DispatchObject::Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters,
                                    VARIANT* result, EXCEPINFO* exception, UINT* culprit) try {
  if (parameters == nullptr || !is_whole(*parameters)) return E_POINTER;
  const auto member = std::ranges::find(dual_.members, id, &Member::id);
  if (member == dual_.members.end()) return DISP_E_MEMBERNOTFOUND;
  const bool sets = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
  if (sets && member->access != Member::Access::kGetLet) return DISP_E_MEMBERNOTFOUND;
  // Scripts cannot tell a property from a method without arguments.
  if ((flags & DISPATCH_METHOD) != 0) flags |= DISPATCH_PROPERTYGET;
  if (!sets && names_an_object(*member) && Invocation::count(*parameters) > 0) {
    return invoke_default(id, flags, parameters, result, exception, culprit);
  }
  Invocation invocation(apartment_, *member, sets, *parameters);
  if (FAILED(invocation.result())) return invocation.result();
  const Apartment::Turn turn = apartment_.wait_for_turn();
  const HRESULT done =
      info_->Invoke(&dual_pointer_, id, flags, invocation.parameters(), result, exception, culprit);
  // An object of another class as argument; no member answers so.
  return done == E_NOINTERFACE ? DISP_E_TYPEMISMATCH : done;
} catch (const Error& error) {
  return raise(error, exception);
} catch (...) {
  return report_exception(dual_.source, dual_.iid);
}

/// `server.Components("C1")`: the arguments are for the default member of what the property holds.
HRESULT DispatchObject::invoke_default(DISPID id, WORD flags, DISPPARAMS* parameters,
                                       VARIANT* result, EXCEPINFO* exception,
                                       UINT* culprit) noexcept {
  DISPPARAMS none{};
  OwnVariant held;
  const HRESULT read = Invoke(id, IID_NULL, 0, flags, &none, held.get(), exception, culprit);
  if (FAILED(read)) return read;
  if (held->vt != VT_DISPATCH || held->pdispVal == nullptr) return DISP_E_BADPARAMCOUNT;
  return held->pdispVal->Invoke(DISPID_VALUE, IID_NULL, LOCALE_USER_DEFAULT, flags, parameters,
                                result, exception, culprit);
}

HRESULT DispatchObject::raise(const Error& error, EXCEPINFO* exception) {
  if (exception != nullptr) {
    *exception = {};
    exception->scode = hresult_of(error.number());
    exception->bstrSource = SysAllocString(dual_.source);
    quietly([&] { exception->bstrDescription = to_bstr(error.description()); });
  }
  return DISP_E_EXCEPTION;
}

}  // namespace tarnwick::automation::com
