#pragma once

#include <dispex.h>

#include <cstddef>
#include <span>

#include "automation/com/apartment.h"
#include "automation/com/counted.h"
#include "automation/com/errors.h"

namespace tarnwick::automation::com {

class DispatchObject;

/// An entry of a dual interface's vtable, whatever its arguments.
using Slot = void (*)();

/// What clients hold: to COM, an object is a pointer to a pointer to functions.
struct DualPointer {
  const Slot* slots;
  DispatchObject* object;
};

/// A dual interface as the objects know it that have it.
struct DualInterface {
  const IID& iid;
  const CLSID* clsid;     // null where no client can create an object
  const wchar_t* source;  // names the class in error information
  std::span<const Member> members;
  const Slot* slots;  // see dual_slots.h
  /// Whether a call that fails is the last cause of failure for its client.
  bool counts_failures;
};

/// What every automation object of the server has behind its own members: identity, life, and the
/// late-bound interfaces, all by the type library.
class DispatchObject : public Counted<IDispatchEx, IProvideClassInfo, ISupportErrorInfo> {
 public:
  DispatchObject(Apartment& apartment, const DualInterface& dual);

  [[nodiscard]] IUnknown* identity() { return reinterpret_cast<IUnknown*>(&dual_pointer_); }

  STDMETHODIMP_(ULONG) Release() override {
    // The last reference must not go while another client is handed one.
    const Apartment::Turn turn = apartment_.wait_for_turn();
    return Counted::Release();
  }

  STDMETHODIMP GetTypeInfoCount(UINT* count) override;
  STDMETHODIMP GetTypeInfo(UINT index, LCID, ITypeInfo** info) override;
  STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR* names, UINT count, LCID, DISPID* ids) override;
  STDMETHODIMP Invoke(DISPID id, REFIID, LCID, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                      EXCEPINFO* exception, UINT* culprit) override;

  // IDispatchEx: what scripts ask for first. The members are those of the type library, no others.
  STDMETHODIMP GetDispID(BSTR name, DWORD, DISPID* id) override;
  STDMETHODIMP InvokeEx(DISPID id, LCID, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                        EXCEPINFO* exception, IServiceProvider*) override;
  STDMETHODIMP DeleteMemberByName(BSTR, DWORD) override { return S_FALSE; }
  STDMETHODIMP DeleteMemberByDispID(DISPID) override { return S_FALSE; }
  STDMETHODIMP GetMemberProperties(DISPID, DWORD, DWORD*) override { return E_NOTIMPL; }
  STDMETHODIMP GetMemberName(DISPID id, BSTR* name) override;
  STDMETHODIMP GetNextDispID(DWORD, DISPID, DISPID*) override { return S_FALSE; }
  STDMETHODIMP GetNameSpaceParent(IUnknown** parent) override;

  STDMETHODIMP GetClassInfo(ITypeInfo** info) override;
  STDMETHODIMP InterfaceSupportsErrorInfo(REFIID iid) override;

  // For the slots of the dual interface.

  [[nodiscard]] Apartment& apartment() { return apartment_; }
  [[nodiscard]] const Member& member(std::size_t position) { return dual_.members[position]; }
  /// Calls a member, or reads it.
  [[nodiscard]] virtual Value call(const Member& member, std::span<const Value> arguments) = 0;
  /// Sets a member; only for objects that have such members.
  virtual void let(const Member& member, const Value& value);

  /// Runs `body` as a client's call; an exception becomes error information and an HRESULT.
  template <class Body>
  HRESULT answer(Body&& body) noexcept {
    try {
      const Apartment::Turn turn = apartment_.wait_for_turn();
      if (dual_.counts_failures) {
        apartment_.carry_out(body);
      } else {
        body();
      }
      return S_OK;
    } catch (...) {
      return report_exception(dual_.source, dual_.iid);
    }
  }

 protected:
  ~DispatchObject() override { apartment_.life().release(); }

  /// Adds the interfaces of one class of object; null for an unknown one.
  void* find_interface(REFIID iid) override;

 private:
  HRESULT invoke_default(DISPID id, WORD flags, DISPPARAMS* parameters, VARIANT* result,
                         EXCEPINFO* exception, UINT* culprit) noexcept;
  HRESULT raise(const Error& error, EXCEPINFO* exception);

  Apartment& apartment_;
  const DualInterface& dual_;
  DualPointer dual_pointer_;
  ComPtr<ITypeInfo> info_;
};

}  // namespace tarnwick::automation::com
