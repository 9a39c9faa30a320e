#include "tests/automation/com/late_bound.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "automation/com/values.h"
#include "platform/windows/wide.h"

namespace tarnwick::test_support {
namespace {

Text take(BSTR string) {
  Text text = automation::com::text_of(string);
  SysFreeString(string);
  return text;
}

}  // namespace

Var::Var(const Text& text) : Var() {
  variant_.bstrVal = automation::com::to_bstr(text);
  variant_.vt = VT_BSTR;
}
Var::Var(bool value) : Var() {
  variant_.vt = VT_BOOL;
  variant_.boolVal = value ? VARIANT_TRUE : VARIANT_FALSE;
}
Var::Var(int value) : Var() {
  variant_.vt = VT_I4;
  variant_.lVal = value;
}
Var::Var(double value) : Var() {
  variant_.vt = VT_R8;
  variant_.dblVal = value;
}
Var::Var(IDispatch* object) : Var() {
  variant_.vt = VT_DISPATCH;
  variant_.pdispVal = object;
  if (object != nullptr) object->AddRef();
}
Var::Var(const Var& other) : Var() {
  VariantCopy(&variant_, const_cast<VARIANT*>(&other.variant_));
}

Var& Var::operator=(const Var& other) {
  VariantCopy(&variant_, const_cast<VARIANT*>(&other.variant_));
  return *this;
}

Var Var::missing() {
  Var var;
  var.variant_.vt = VT_ERROR;
  var.variant_.scode = DISP_E_PARAMNOTFOUND;
  return var;
}
Var Var::null() {
  Var var;
  var.variant_.vt = VT_NULL;
  return var;
}
Var Var::date(double days) {
  Var var;
  var.variant_.vt = VT_DATE;
  var.variant_.date = days;
  return var;
}
Var Var::int16(short value) {
  Var var;
  var.variant_.vt = VT_I2;
  var.variant_.iVal = value;
  return var;
}
Var Var::reference(Var& variant) {
  Var var;
  var.variant_.vt = VT_BYREF | VT_VARIANT;
  var.variant_.pvarVal = variant.get();
  return var;
}

Text Var::text() const {
  EXPECT_EQ(variant_.vt, VT_BSTR);
  return variant_.vt == VT_BSTR ? automation::com::text_of(variant_.bstrVal) : Text();
}
int Var::number() const {
  EXPECT_TRUE(variant_.vt == VT_I2 || variant_.vt == VT_I4) << variant_.vt;
  return variant_.vt == VT_I2 ? variant_.iVal : static_cast<int>(variant_.lVal);
}
bool Var::boolean() const {
  EXPECT_EQ(variant_.vt, VT_BOOL);
  EXPECT_TRUE(variant_.boolVal == VARIANT_TRUE || variant_.boolVal == VARIANT_FALSE);
  return variant_.boolVal == VARIANT_TRUE;
}
double Var::days() const {
  EXPECT_EQ(variant_.vt, VT_DATE);
  return variant_.date;
}
ComPtr<IDispatch> Var::object() const {
  EXPECT_EQ(variant_.vt, VT_DISPATCH);
  return variant_.vt == VT_DISPATCH ? variant_.pdispVal : nullptr;
}

LateBound LateBound::create(const wchar_t* prog_id) {
  CLSID clsid{};
  EXPECT_EQ(CLSIDFromProgID(prog_id, &clsid), S_OK);
  ComPtr<IDispatch> object;
  EXPECT_EQ(CoCreateInstance(clsid, nullptr, CLSCTX_LOCAL_SERVER, IID_PPV_ARGS(&object)), S_OK);
  return LateBound(object);
}

Outcome LateBound::attempt(const wchar_t* member, WORD flags,
                           const std::vector<Var>& arguments) const {
  Outcome outcome;
  DISPID id = 0;
  auto* name = const_cast<wchar_t*>(member);
  outcome.result = object_->GetIDsOfNames(IID_NULL, &name, 1, LOCALE_USER_DEFAULT, &id);
  if (FAILED(outcome.result)) return outcome;

  std::vector<VARIANTARG> reversed;
  for (const Var& argument : arguments) reversed.push_back(argument.value());
  std::ranges::reverse(reversed);
  DISPID put = DISPID_PROPERTYPUT;
  const bool puts = flags == DISPATCH_PROPERTYPUT;
  DISPPARAMS parameters{reversed.data(), puts ? &put : nullptr, static_cast<UINT>(reversed.size()),
                        puts ? 1u : 0u};
  EXCEPINFO exception{};
  UINT culprit = 0;
  outcome.result = object_->Invoke(id, IID_NULL, LOCALE_USER_DEFAULT, flags, &parameters,
                                   puts ? nullptr : outcome.value.get(), &exception, &culprit);
  if (outcome.result == DISP_E_EXCEPTION) {
    outcome.error = exception.scode;
    outcome.source = take(exception.bstrSource);
    outcome.description = take(exception.bstrDescription);
    SysFreeString(exception.bstrHelpFile);
  }
  return outcome;
}

Var LateBound::call(const wchar_t* member, const std::vector<Var>& arguments) const {
  const Outcome outcome = attempt(member, DISPATCH_METHOD | DISPATCH_PROPERTYGET, arguments);
  EXPECT_EQ(outcome.result, S_OK) << to_display_utf8(platform::from_wide(member));
  return outcome.value;
}

LateBound LateBound::object(const wchar_t* member, const std::vector<Var>& arguments) const {
  return LateBound(call(member, arguments).object());
}

void LateBound::put(const wchar_t* member, const Var& value) const {
  EXPECT_EQ(attempt(member, DISPATCH_PROPERTYPUT, {value}).result, S_OK)
      << to_display_utf8(platform::from_wide(member));
}

std::vector<LateBound> LateBound::each() const {
  DISPPARAMS none{};
  Var result;
  EXPECT_EQ(object_->Invoke(DISPID_NEWENUM, IID_NULL, LOCALE_USER_DEFAULT,
                            DISPATCH_METHOD | DISPATCH_PROPERTYGET, &none, result.get(), nullptr,
                            nullptr),
            S_OK);
  std::vector<LateBound> all;
  ComPtr<IEnumVARIANT> walk;
  if (result.type() != VT_UNKNOWN ||
      FAILED(result.value().punkVal->QueryInterface(IID_PPV_ARGS(&walk)))) {
    ADD_FAILURE() << "no enumerator";
    return all;
  }
  for (;;) {
    Var next;
    ULONG fetched = 0;
    if (walk->Next(1, next.get(), &fetched) != S_OK || fetched != 1) return all;
    all.emplace_back(next.object());
  }
}

}  // namespace tarnwick::test_support
