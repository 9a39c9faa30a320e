#pragma once

#include <concepts>

#include "automation/com/apartment.h"

namespace tarnwick::automation::com {

// Between COM's types and the object model's values. All throw Error.

/// What an object of this process answers to, and no proxy does: no marshaler knows the interface.
MIDL_INTERFACE("FF967330-805A-4B81-8B83-DF9088B006C9") LocalObject : public IUnknown {
  virtual const Object& object() const = 0;
};

[[nodiscard]] Text text_of(BSTR string);

/// A new BSTR, which the caller owns.
[[nodiscard]] BSTR to_bstr(TextView text);

/// Puts a value that is no object into an empty variant, whose owner clears it.
void put(VARIANT& variant, const Value& value);

/// A key or a position: a text, a number, a Boolean, Empty or Null, by value or by reference; what
/// else a variant may hold is Error 13.
[[nodiscard]] Value key_or_position(const VARIANT& variant);

/// The object behind a client's reference, Nothing for a null one. An object of another process,
/// or of another program, is Error 13 with a description that says so.
[[nodiscard]] Value object_of(IUnknown* reference);

// An argument of the type that the table says; a short may be a 16-bit number or a Boolean, a long
// an enumeration's value.
[[nodiscard]] inline Value to_value(const Type&, BSTR argument) { return text_of(argument); }
[[nodiscard]] inline Value to_value(const Type& type, SHORT argument) {
  if (type.kind == Kind::kBoolean) return argument != VARIANT_FALSE;
  return argument;
}
[[nodiscard]] inline Value to_value(const Type&, LONG argument) {
  return static_cast<std::int32_t>(argument);
}
[[nodiscard]] inline Value to_value(const Type&, DATE argument) { return Date{argument}; }
[[nodiscard]] inline Value to_value(const Type&, const VARIANT& argument) {
  return key_or_position(argument);
}
template <std::derived_from<IUnknown> Interface>
[[nodiscard]] Value to_value(const Type&, Interface* argument) {
  return object_of(argument);
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

__CRT_UUID_DECL(tarnwick::automation::com::LocalObject, 0xFF967330, 0x805A, 0x4B81, 0x8B, 0x83,
                0xDF, 0x90, 0x88, 0xB0, 0x06, 0xC9)
