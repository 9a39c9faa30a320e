#pragma once

#include <array>
#include <cstddef>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "automation/binding.h"
#include "automation/com/dispatch_object.h"
#include "automation/com/type_library.h"
#include "automation/com/values.h"

namespace tarnwick::automation::com {

// Makes the vtable of a dual interface from the table of its class. To COM a vtable is an array of
// functions that take the object first. A template cannot declare one virtual function for each row
// of a table, so these are plain ones.

template <Type kType>
constexpr auto slot_type() {
  if constexpr (kType.kind == Kind::kText) {
    return BSTR();
  } else if constexpr (kType.kind == Kind::kBoolean) {
    return VARIANT_BOOL();
  } else if constexpr (kType.kind == Kind::kInt16) {
    return SHORT();
  } else if constexpr (kType.kind == Kind::kInt32 || kType.kind == Kind::kEnumeration) {
    return LONG();
  } else if constexpr (kType.kind == Kind::kDate) {
    return DATE();
  } else if constexpr (kType.kind == Kind::kObject) {
    return static_cast<typename ComClass<kType.class_id>::Interface*>(nullptr);
  } else if constexpr (kType.kind == Kind::kCollection) {
    return static_cast<::_Collection*>(nullptr);
  } else if constexpr (kType.kind == Kind::kEnumerator) {
    return static_cast<IUnknown*>(nullptr);
  } else if constexpr (kType.kind == Kind::kAnyObject) {
    return static_cast<IDispatch*>(nullptr);
  } else {
    return VARIANT();
  }
}

/// How a type of the tables stands in a slot.
template <Type kType>
using SlotType = decltype(slot_type<kType>());

template <Type... kTypes>
struct Types {};

template <class B, std::size_t... kIndex>
Types<B::kArgumentTypes[kIndex]...> argument_types(std::index_sequence<kIndex...>);
template <class B>
using In = decltype(argument_types<B>(std::make_index_sequence<B::kArgumentTypes.size()>()));
template <class B>
using Out =
    std::conditional_t<B::kResultType.kind == Kind::kNothing, Types<>, Types<B::kResultType>>;

template <std::size_t kMember, class In, class Out>
struct CallSlot;

/// Calls or reads member number `kMember`; there is one result or none.
template <std::size_t kMember, Type... kIn, Type... kOut>
struct CallSlot<kMember, Types<kIn...>, Types<kOut...>> {
  static HRESULT STDMETHODCALLTYPE function(DualPointer* self, SlotType<kIn>... in,
                                            SlotType<kOut>*... out) noexcept {
    if ((... || (out == nullptr))) return E_POINTER;
    ((*out = {}), ...);
    DispatchObject& object = *self->object;
    return object.answer([&] {
      const std::array<Value, sizeof...(kIn)> arguments{to_value(object.apartment(), kIn, in)...};
      [[maybe_unused]] Value result = object.call(object.member(kMember), arguments);
      (give(object.apartment(), std::move(result), out), ...);
    });
  }
};

/// Sets member number `kMember`.
template <std::size_t kMember, Type kType>
struct LetSlot {
  static HRESULT STDMETHODCALLTYPE function(DualPointer* self, SlotType<kType> in) noexcept {
    DispatchObject& object = *self->object;
    return object.answer(
        [&] { object.let(object.member(kMember), to_value(object.apartment(), kType, in)); });
  }
};

/// Calls a function of IUnknown or IDispatch.
template <auto kFunction>
struct DispatchSlot;
template <class Result, class Base, class... In, Result (STDMETHODCALLTYPE Base::*kFunction)(In...)>
struct DispatchSlot<kFunction> {
  static Result STDMETHODCALLTYPE function(DualPointer* self, In... in) {
    return (self->object->*kFunction)(in...);
  }
};

template <class S>
Slot slot() {
  return reinterpret_cast<Slot>(&S::function);
}

template <std::size_t kMember, class Entry>
void append_slots(std::vector<Slot>& slots) {
  using B = Binding<Entry::kFunction>;
  slots.push_back(slot<CallSlot<kMember, In<B>, Out<B>>>());
  if constexpr (!std::is_null_pointer_v<decltype(Entry::kLet)>) {
    slots.push_back(slot<LetSlot<kMember, B::kResultType>>());
  }
}

/// The vtable of the dual interface with the members of `T`.
template <class T>
const Slot* dual_slots() {
  static const std::vector<Slot> all = [] {
    std::vector<Slot> slots{slot<DispatchSlot<&DispatchObject::QueryInterface>>(),
                            slot<DispatchSlot<&DispatchObject::AddRef>>(),
                            slot<DispatchSlot<&DispatchObject::Release>>(),
                            slot<DispatchSlot<&DispatchObject::GetTypeInfoCount>>(),
                            slot<DispatchSlot<&DispatchObject::GetTypeInfo>>(),
                            slot<DispatchSlot<&DispatchObject::GetIDsOfNames>>(),
                            slot<DispatchSlot<&DispatchObject::Invoke>>()};
    using Table = std::remove_cv_t<decltype(MembersOf<T>::kAll)>;
    [&]<std::size_t... kMember>(std::index_sequence<kMember...>) {
      (append_slots<kMember, std::tuple_element_t<kMember, Table>>(slots), ...);
    }
    (std::make_index_sequence<std::tuple_size_v<Table>>());
    return slots;
  }();
  return all.data();
}

}  // namespace tarnwick::automation::com
