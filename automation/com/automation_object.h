#pragma once

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

#include "automation/com/client_call.h"
#include "automation/com/dispatch_object.h"

namespace tarnwick::automation::com {

/// The name of a member as a template argument.
template <std::size_t kSize>
struct MemberName {
  consteval MemberName(const char (&text)[kSize]) { std::copy_n(text, kSize, characters); }
  [[nodiscard]] constexpr std::string_view view() const { return {characters, kSize - 1}; }
  char characters[kSize];
};

/// A COM object that stands for an object of one of the seven classes. The derived class has one
/// line for each member of the dual interface; the table of the class does the work.
template <ClassId kClass>
class AutomationObject : public DispatchObject<typename ComClass<kClass>::Interface>,
                         public LocalObject {
  using Base = DispatchObject<typename ComClass<kClass>::Interface>;

 public:
  AutomationObject(Apartment& apartment, Object object)
      : Base(apartment, class_of(kClass).members, ComClass<kClass>::kProgId),
        object_(std::move(object)) {}

  STDMETHODIMP QueryInterface(REFIID iid, void** out) override {
    return Base::QueryInterface(iid, out);
  }
  STDMETHODIMP_(ULONG) AddRef() override { return Base::AddRef(); }
  STDMETHODIMP_(ULONG) Release() override { return Base::Release(); }

  STDMETHODIMP GetClassInfo(ITypeInfo** info) override {
    if (info == nullptr) return E_POINTER;
    return this->reporting([&] {
      *info = nullptr;
      *info = this->apartment().types().type_info(ComClass<kClass>::clsid()).Detach();
    });
  }

  const Object& object() const override { return object_; }

 protected:
  ~AutomationObject() override { this->apartment().forget(object_); }

  void* find_interface(REFIID iid) override {
    if (iid == __uuidof(LocalObject)) return static_cast<LocalObject*>(this);
    if (iid == IID_IProvideClassInfo) return static_cast<IProvideClassInfo*>(this);
    return Base::find_interface(iid);
  }

  template <MemberName kName, class Out, class... In>
  HRESULT call(Out* value, const In&... in) noexcept {
    if (value == nullptr) return E_POINTER;
    clear(value);
    return carrying_out([&] {
      static const Member& member = *find_member(class_of(kClass), kName.view());
      const std::array<Value, sizeof...(In)> arguments =
          convert(member, std::index_sequence_for<In...>(), in...);
      give(this->apartment(), automation::call(object_, member, arguments), value);
    });
  }

  template <MemberName kName, class In>
  HRESULT let(const In& in) noexcept {
    return carrying_out([&] {
      static const Member& member = *find_member(class_of(kClass), kName.view());
      automation::let(object_, member, to_value(member.result, in));
    });
  }

 private:
  template <class Body>
  HRESULT carrying_out(Body&& body) noexcept {
    return this->reporting([&] { carry_out(this->apartment(), body); });
  }

  template <std::size_t... kIndex, class... In>
  static std::array<Value, sizeof...(In)> convert([[maybe_unused]] const Member& member,
                                                  std::index_sequence<kIndex...>, const In&... in) {
    return {to_value(member.arguments[kIndex].type, in)...};
  }

  Object object_;
};

}  // namespace tarnwick::automation::com
