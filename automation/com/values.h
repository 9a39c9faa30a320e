#pragma once

#include <concepts>

#include "automation/com/apartment.h"
#include "automation/com/own_variant.h"

namespace tarnwick::automation::com {

// Between COM's types and the object model's values. All throw Error.

[[nodiscard]] Text text_of(BSTR string);

/// A new BSTR, which the caller owns.
[[nodiscard]] BSTR to_bstr(TextView text);

/// Puts a value that is no object into an empty variant, whose owner clears it.
void put(VARIANT& variant, const Value& value);

/// Puts what `given` holds, or refers to, into an empty variant. False where it refers to nothing,
/// or to what cannot be copied.
[[nodiscard]] bool copy_content(OwnVariant& held, const VARIANT& given);

/// A key or a position: a text, a number, a Boolean, Empty or Null, by value or by reference; what
/// else a variant may hold is Error 13.
[[nodiscard]] Value key_or_position(const VARIANT& variant);

// An argument of the type that the table says; a short may be a 16-bit number or a Boolean, a long
// an enumeration's value.
[[nodiscard]] inline Value to_value(Apartment&, const Type&, BSTR argument) {
  return text_of(argument);
}
[[nodiscard]] inline Value to_value(Apartment&, const Type& type, SHORT argument) {
  if (type.kind == Kind::kBoolean) return argument != VARIANT_FALSE;
  return argument;
}
[[nodiscard]] inline Value to_value(Apartment&, const Type&, LONG argument) {
  return static_cast<std::int32_t>(argument);
}
[[nodiscard]] inline Value to_value(Apartment&, const Type&, DATE argument) {
  return Date{argument};
}
[[nodiscard]] inline Value to_value(Apartment&, const Type&, const VARIANT& argument) {
  return key_or_position(argument);
}
template <std::derived_from<IUnknown> Interface>
[[nodiscard]] Value to_value(Apartment& apartment, const Type&, Interface* argument) {
  return apartment.object_behind(argument);
}

// Hand a result to the client, who owns it.
void give(Apartment& apartment, Value value, BSTR* out);
void give(Apartment& apartment, Value value, SHORT* out);
void give(Apartment& apartment, Value value, LONG* out);
void give(Apartment& apartment, Value value, DATE* out);
void give(Apartment& apartment, Value value, VARIANT* out);
void give(Apartment& apartment, Value value, IUnknown** out);
void give(Apartment& apartment, Value value, ::_Collection** out);

template <std::derived_from<IDispatch> Interface>
void give(Apartment& apartment, const Value& value, Interface** out) {
  const ComPtr<IUnknown> reference = apartment.reference_to(std::get<Object>(value));
  if (reference) reference->QueryInterface(__uuidof(Interface), reinterpret_cast<void**>(out));
}

}  // namespace tarnwick::automation::com
