#include "automation/com/invocation.h"

#include <dispex.h>

#include "automation/com/errors.h"
#include "automation/com/values.h"

namespace tarnwick::automation::com {
namespace {

/// What a script's variable holds, and any other argument itself.
const VARIANTARG& content(const VARIANTARG& argument) {
  const bool is_variable = argument.vt == (VT_BYREF | VT_VARIANT) && argument.pvarVal != nullptr;
  return is_variable ? *argument.pvarVal : argument;
}

bool is_missing(const VARIANTARG& argument) {
  return argument.vt == VT_ERROR && argument.scode == DISP_E_PARAMNOTFOUND;
}

bool names_the_caller(const DISPPARAMS& given) {
  return given.cNamedArgs > 0 && given.rgdispidNamedArgs[0] == DISPID_THIS;
}

/// How an argument that is no object stands in a slot.
VARTYPE type_in_slot(Kind kind) {
  switch (kind) {
    case Kind::kText:
      return VT_BSTR;
    case Kind::kBoolean:
      return VT_BOOL;
    case Kind::kInt16:
      return VT_I2;
    case Kind::kDate:
      return VT_DATE;
    default:
      return VT_I4;
  }
}

}  // namespace

std::size_t Invocation::count(const DISPPARAMS& given) {
  return names_the_caller(given) ? given.cArgs - std::size_t{1} : given.cArgs;
}

Invocation::Invocation(Apartment& apartment, const Member& member, bool sets,
                       const DISPPARAMS& given)
    : apartment_(apartment) {
  if (sets) {
    arguments_.resize(1);
    result_ = given.cArgs == 1 ? take(member.result, content(given.rgvarg[0]), arguments_[0])
                               : DISP_E_BADPARAMCOUNT;
    parameters_.rgdispidNamedArgs = &property_put_;
    parameters_.cNamedArgs = 1;
  } else {
    result_ = arrange(member, given);
  }
  parameters_.rgvarg = arguments_.data();
  parameters_.cArgs = static_cast<UINT>(arguments_.size());
}

HRESULT Invocation::arrange(const Member& member, const DISPPARAMS& given) {
  const std::size_t wanted = member.arguments.size();
  const std::size_t named = given.cNamedArgs;
  if (named > given.cArgs || count(given) > wanted) return DISP_E_BADPARAMCOUNT;

  // By place, the first one first.
  std::vector<const VARIANTARG*> places(wanted, nullptr);
  const std::size_t positional = given.cArgs - named;
  for (std::size_t i = 0; i < positional; ++i) {
    places[i] = &content(given.rgvarg[given.cArgs - 1 - i]);
  }
  for (std::size_t i = names_the_caller(given) ? 1 : 0; i < named; ++i) {
    const DISPID place = given.rgdispidNamedArgs[i];
    if (place < 0 || static_cast<std::size_t>(place) >= wanted ||
        places[static_cast<std::size_t>(place)] != nullptr) {
      return DISP_E_PARAMNOTFOUND;
    }
    places[static_cast<std::size_t>(place)] = &content(given.rgvarg[i]);
  }

  arguments_.resize(wanted);
  for (std::size_t i = 0; i < wanted; ++i) {
    VARIANTARG& taken = arguments_[wanted - 1 - i];
    const Argument& argument = member.arguments[i];
    if (places[i] != nullptr && !is_missing(*places[i])) {
      const HRESULT result = take(argument.type, *places[i], taken);
      if (FAILED(result)) return result;
    } else if (argument.default_value) {
      taken = default_of(argument);
    } else {
      return DISP_E_PARAMNOTOPTIONAL;
    }
  }
  return S_OK;
}

HRESULT Invocation::take(const Type& type, const VARIANTARG& given, VARIANTARG& taken) {
  taken = given;
  if ((given.vt & VT_BYREF) != 0) {
    OwnVariant& value = owned_.emplace_back();
    if (!copy_content(value, given)) return DISP_E_TYPEMISMATCH;
    taken = *value.get();
  }
  if (type.kind == Kind::kKeyOrPosition) return S_OK;
  if (taken.vt == VT_NULL) throw Error(ErrorNumber::kInvalidUseOfNull);
  if (taken.vt != VT_DISPATCH && taken.vt != VT_UNKNOWN) return S_OK;

  if (type.kind == Kind::kObject || type.kind == Kind::kAnyObject) {
    const Apartment::Turn turn = apartment_.wait_for_turn();
    static_cast<void>(apartment_.object_behind(taken.punkVal));
    return S_OK;
  }
  if (taken.punkVal == nullptr) return DISP_E_TYPEMISMATCH;
  OwnVariant& value = owned_.emplace_back();
  const HRESULT result = VariantChangeType(value.get(), &taken, 0, type_in_slot(type.kind));
  taken = *value.get();
  return result;
}

VARIANTARG Invocation::default_of(const Argument& argument) {
  OwnVariant& owned = owned_.emplace_back();
  put(*owned.get(), *argument.default_value);
  return *owned.get();
}

}  // namespace tarnwick::automation::com
