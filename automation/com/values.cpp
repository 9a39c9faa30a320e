#include "automation/com/values.h"

#include <array>
#include <cmath>
#include <new>
#include <utility>

#include "automation/com/enumerator_object.h"
#include "automation/com/other_objects.h"

namespace tarnwick::automation::com {
namespace {

/// An array of variants, from 0; one of rows has the row for its first index.
SAFEARRAY* to_array(const Values& values) {
  const std::size_t columns = values.columns;
  const std::size_t rows = columns == 0 ? values.all.size() : values.all.size() / columns;
  std::array<SAFEARRAYBOUND, 2> bounds{
      {{static_cast<ULONG>(rows), 0}, {static_cast<ULONG>(columns), 0}}};
  SAFEARRAY* array = SafeArrayCreate(VT_VARIANT, columns == 0 ? 1 : 2, bounds.data());
  if (array == nullptr) throw std::bad_alloc();
  VARIANT* places = nullptr;
  SafeArrayAccessData(array, reinterpret_cast<void**>(&places));
  try {
    // The first index runs fastest.
    for (std::size_t i = 0; i < values.all.size(); ++i) {
      put(places[columns == 0 ? i : i / columns + i % columns * rows], values.all[i]);
    }
  } catch (...) {
    SafeArrayUnaccessData(array);
    SafeArrayDestroy(array);
    throw;
  }
  SafeArrayUnaccessData(array);
  return array;
}

Value whole_number(LONGLONG number) {
  if (number < INT32_MIN || number > INT32_MAX) return static_cast<std::int64_t>(number);
  return static_cast<std::int32_t>(number);
}

}  // namespace

Text text_of(BSTR string) { return Text(string, string + SysStringLen(string)); }

BSTR to_bstr(TextView text) {
  BSTR string = SysAllocStringLen(nullptr, static_cast<UINT>(text.size()));
  if (string == nullptr) throw std::bad_alloc();
  std::copy(text.begin(), text.end(), string);
  return string;
}

bool copy_content(OwnVariant& held, const VARIANT& given) {
  const VARIANT* source = &given;
  if (source->vt == (VT_BYREF | VT_VARIANT)) source = source->pvarVal;
  if (source == nullptr || ((source->vt & VT_BYREF) != 0 && source->byref == nullptr)) return false;
  return SUCCEEDED(VariantCopyInd(held.get(), const_cast<VARIANT*>(source)));
}

Value key_or_position(const VARIANT& variant) {
  OwnVariant held;
  if (!copy_content(held, variant)) throw Error(ErrorNumber::kTypeMismatch);
  switch (held->vt) {
    case VT_EMPTY:
      return Empty{};
    case VT_NULL:
      return Null{};
    case VT_BSTR:
      return text_of(held->bstrVal);
    case VT_BOOL:
      return held->boolVal != VARIANT_FALSE;
    case VT_I1:
    case VT_UI1:
    case VT_I2:
    case VT_UI2:
    case VT_I4:
    case VT_UI4:
    case VT_INT:
    case VT_UINT:
    case VT_I8: {
      OwnVariant number;
      if (FAILED(VariantChangeType(number.get(), held.get(), 0, VT_I8))) break;
      return whole_number(number->llVal);
    }
    case VT_R4:
    case VT_R8:
    case VT_CY:
    case VT_DECIMAL:
    case VT_DATE:
    case VT_UI8: {
      OwnVariant number;
      if (FAILED(VariantChangeType(number.get(), held.get(), 0, VT_R8))) break;
      return number->dblVal;
    }
    default:
      break;
  }
  throw Error(ErrorNumber::kTypeMismatch);
}

void put(VARIANT& variant, const Value& value) {
  std::visit(
      [&]<class T>(const T& held) {
        if constexpr (std::same_as<T, bool>) {
          variant.vt = VT_BOOL;
          variant.boolVal = held ? VARIANT_TRUE : VARIANT_FALSE;
        } else if constexpr (std::same_as<T, std::int16_t>) {
          variant.vt = VT_I2;
          variant.iVal = held;
        } else if constexpr (std::same_as<T, std::int32_t>) {
          variant.vt = VT_I4;
          variant.lVal = held;
        } else if constexpr (std::same_as<T, Date>) {
          variant.vt = VT_DATE;
          variant.date = held.days;
        } else if constexpr (std::same_as<T, double>) {
          variant.vt = VT_R8;
          variant.dblVal = held;
        } else if constexpr (std::same_as<T, Empty>) {
          variant.vt = VT_EMPTY;
        } else if constexpr (std::same_as<T, Text>) {
          variant.bstrVal = to_bstr(held);
          variant.vt = VT_BSTR;
        } else {
          throw Error(ErrorNumber::kInternalError);
        }
      },
      value);
}

void give(Apartment&, Value value, BSTR* out) { *out = to_bstr(std::get<Text>(value)); }

void give(Apartment&, Value value, SHORT* out) {
  if (const bool* boolean = std::get_if<bool>(&value)) {
    *out = *boolean ? VARIANT_TRUE : VARIANT_FALSE;
  } else {
    *out = std::get<std::int16_t>(value);
  }
}

void give(Apartment&, Value value, LONG* out) { *out = std::get<std::int32_t>(value); }

void give(Apartment&, Value value, DATE* out) { *out = std::get<Date>(value).days; }

void give(Apartment& apartment, Value value, VARIANT* out) {
  if (std::holds_alternative<Empty>(value)) return;
  if (const auto* values = std::get_if<std::shared_ptr<const Values>>(&value)) {
    out->parray = to_array(**values);
    out->vt = VT_ARRAY | VT_VARIANT;
    return;
  }
  const ComPtr<IUnknown> reference = apartment.reference_to(std::get<Object>(value));
  IDispatch* dispatch = nullptr;
  if (reference) reference->QueryInterface(IID_PPV_ARGS(&dispatch));
  out->vt = VT_DISPATCH;
  out->pdispVal = dispatch;
}

void give(Apartment& apartment, Value value, IUnknown** out) {
  auto walk = std::get<std::shared_ptr<Enumerator>>(std::move(value));
  *out = new_enumerator(apartment, std::move(walk));
}

void give(Apartment& apartment, Value value, ::_Collection** out) {
  auto collection = std::get<std::shared_ptr<Collection>>(std::move(value));
  *out = static_cast<::_Collection*>(new_collection(apartment, std::move(collection)).Detach());
}

}  // namespace tarnwick::automation::com
