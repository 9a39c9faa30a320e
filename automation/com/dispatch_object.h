#pragma once

#include <dispex.h>

#include "automation/com/apartment.h"
#include "automation/com/errors.h"
#include "automation/com/invocation.h"
#include "automation/com/own_variant.h"
#include "automation/com/values.h"

namespace tarnwick::automation::com {

/// The member with this dispatch id in the type library: members are counted from 1 in the order of
/// the table, but Item is the default member and NewEnum has the enumerator's own id.
[[nodiscard]] const Member* member_with_id(std::span<const Member> members, DISPID id);

/// Whether arguments for the member, which takes none itself, are meant for the object that it
/// gives.
[[nodiscard]] bool names_an_object(const Member& member);

/// What every automation object of the server has behind its own members: identity, life, and the
/// late-bound interfaces, all by the type library. `Interface` is the object's dual interface.
template <class Interface>
class DispatchObject : public Interface,
                       public IDispatchEx,
                       public IProvideClassInfo,
                       public ISupportErrorInfo {
 public:
  /// Begins with one reference. `source` names the class in error information.
  DispatchObject(Apartment& apartment, std::span<const Member> members, const wchar_t* source)
      : apartment_(apartment),
        members_(members),
        source_(source),
        info_(apartment.types().type_info(__uuidof(Interface))) {
    apartment_.life().hold();
  }
  DispatchObject(const DispatchObject&) = delete;
  DispatchObject& operator=(const DispatchObject&) = delete;

  [[nodiscard]] IUnknown* identity() { return static_cast<Interface*>(this); }

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

  STDMETHODIMP GetTypeInfoCount(UINT* count) override {
    if (count == nullptr) return E_POINTER;
    *count = 1;
    return S_OK;
  }
  STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** info) override {
    if (info == nullptr) return E_POINTER;
    *info = nullptr;
    if (index != 0) return DISP_E_BADINDEX;
    return info_.CopyTo(info);
  }
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override {
    return info_->GetIDsOfNames(names, count, ids);
  }
  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                      EXCEPINFO* exception, UINT* culprit) override {
    return invoke(id, flags, parameters, result, exception, culprit);
  }

  // IDispatchEx: what scripts ask for first. The members are those of the type library, no others.
  STDMETHODIMP GetDispID(BSTR name, DWORD, DISPID* id) override {
    LPOLESTR names = name;
    return info_->GetIDsOfNames(&names, 1, id);
  }
  STDMETHODIMP InvokeEx(DISPID id, LCID, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                        EXCEPINFO* exception, IServiceProvider*) override {
    if ((flags & DISPATCH_CONSTRUCT) != 0) return DISP_E_MEMBERNOTFOUND;
    UINT culprit = 0;
    return invoke(id, flags, parameters, result, exception, &culprit);
  }
  STDMETHODIMP DeleteMemberByName(BSTR, DWORD) override { return S_FALSE; }
  STDMETHODIMP DeleteMemberByDispID(DISPID) override { return S_FALSE; }
  STDMETHODIMP GetMemberProperties(DISPID, DWORD, DWORD*) override { return E_NOTIMPL; }
  STDMETHODIMP GetMemberName(DISPID id, BSTR* name) override {
    UINT count = 0;
    return info_->GetNames(id, name, 1, &count);
  }
  STDMETHODIMP GetNextDispID(DWORD, DISPID, DISPID*) override { return S_FALSE; }
  STDMETHODIMP GetNameSpaceParent(IUnknown** parent) override {
    if (parent != nullptr) *parent = nullptr;
    return E_NOTIMPL;
  }

  STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) override {
    return iid == __uuidof(Interface) ? S_OK : S_FALSE;
  }

 protected:
  virtual ~DispatchObject() { apartment_.life().release(); }

  /// Adds the interfaces of one class of object; null for an unknown one.
  virtual void* find_interface(REFIID iid) {
    if (iid == IID_IUnknown || iid == IID_IDispatch || iid == __uuidof(Interface)) {
      return static_cast<Interface*>(this);
    }
    if (iid == __uuidof(IDispatchEx)) return static_cast<IDispatchEx*>(this);
    if (iid == IID_ISupportErrorInfo) return static_cast<ISupportErrorInfo*>(this);
    return nullptr;
  }

  /// Runs `body`; an exception becomes error information and an HRESULT.
  template <class Body>
  HRESULT reporting(Body&& body) noexcept {
    try {
      body();
      return S_OK;
    } catch (...) {
      return report_exception(source_, __uuidof(Interface));
    }
  }

  [[nodiscard]] Apartment& apartment() { return apartment_; }

 private:
  HRESULT invoke(DISPID id, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                 EXCEPINFO* exception, UINT* culprit) noexcept try {
    if (parameters == nullptr) return E_POINTER;
    const Member* member = member_with_id(members_, id);
    if (member == nullptr) return DISP_E_MEMBERNOTFOUND;
    const bool sets = (flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF)) != 0;
    // Scripts cannot tell a property from a method without arguments.
    if ((flags & DISPATCH_METHOD) != 0) flags |= DISPATCH_PROPERTYGET;
    if (!sets && names_an_object(*member) && Invocation::count(*parameters) > 0) {
      return invoke_default(id, flags, parameters, result, exception, culprit);
    }
    Invocation invocation(*member, sets, *parameters);
    if (FAILED(invocation.result())) return refuse(invocation.result(), exception);
    const HRESULT done = info_->Invoke(static_cast<Interface*>(this), id, flags,
                                       invocation.parameters(), result, exception, culprit);
    // An object of another class as argument; no member answers so.
    return done == E_NOINTERFACE ? DISP_E_TYPEMISMATCH : done;
  } catch (...) {
    return report_exception(source_, __uuidof(Interface));
  }

  /// `server.Components("C1")`: the arguments are for the default member of what the property
  /// holds.
  HRESULT invoke_default(DISPID id, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                         EXCEPINFO* exception, UINT* culprit) noexcept {
    DISPPARAMS none{};
    OwnVariant held;
    const HRESULT read = invoke(id, flags, &none, held.get(), exception, culprit);
    if (FAILED(read)) return read;
    if (held->vt != VT_DISPATCH || held->pdispVal == nullptr) return DISP_E_BADPARAMCOUNT;
    return held->pdispVal->Invoke(DISPID_VALUE, IID_NULL, LOCALE_USER_DEFAULT, flags, parameters,
                                  result, exception, culprit);
  }

  HRESULT refuse(HRESULT why, EXCEPINFO* exception) {
    if (HRESULT_FACILITY(why) != FACILITY_CONTROL) return why;
    if (exception != nullptr) {
      *exception = {};
      exception->scode = why;
      exception->bstrSource = SysAllocString(source_);
      exception->bstrDescription =
          to_bstr(description_of(static_cast<ErrorNumber>(HRESULT_CODE(why))));
    }
    return DISP_E_EXCEPTION;
  }

  Apartment& apartment_;
  std::span<const Member> members_;
  const wchar_t* source_;
  ComPtr<ITypeInfo> info_;
  volatile LONG references_ = 1;
};

}  // namespace tarnwick::automation::com
