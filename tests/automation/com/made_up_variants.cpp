#include "tests/automation/com/made_up_variants.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <string>

namespace tarnwick::test_support {
namespace {

using automation::Kind;

constexpr std::array<const wchar_t*, 16> kWords{
    L"",        L"1",   L"-1",   L"C1",   L"MAC\u00FEPC-1\u00FE1", L"Sales", L"One",
    L"32768",   L"1e9", L"0x10", L"True", L"12/24/2023",           L"NaN",   L"a'b\"c",
    L"\xD800x", L"%s%n"};
constexpr std::array<double, 14> kNumbers{
    0, 1, -1, 0.5, 2.5, 32767, 32768, -32769, 65536, 2147483648.0, -1e10, 1e19, 1e300, 45000.25};

}  // namespace

BSTR MadeUpVariants::text() {
  BSTR made = nullptr;
  switch (below(8)) {
    case 0:
      return nullptr;
    case 1:
      made = SysAllocStringByteLen("odd", 3);
      break;
    case 2: {
      const std::wstring bytes(below(40), static_cast<wchar_t>(random_() & 0xFFFF));
      made = SysAllocStringLen(bytes.data(), static_cast<UINT>(bytes.size()));
      break;
    }
    case 3: {
      const std::wstring longer(below(once_in(20) ? 200'000 : 600), L'x');
      made = SysAllocStringLen(longer.data(), static_cast<UINT>(longer.size()));
      break;
    }
    default:
      made = SysAllocString(kWords[below(kWords.size())]);
  }
  texts_.push_back(made);
  return made;
}

VARIANT MadeUpVariants::plain(VARTYPE type) {
  VARIANT made{};
  made.vt = type;
  const double number = kNumbers[below(kNumbers.size())];
  switch (type) {
    case VT_BSTR:
      made.bstrVal = text();
      break;
    case VT_R4:
      made.fltVal =
          once_in(5) ? std::numeric_limits<float>::quiet_NaN() : static_cast<float>(number);
      break;
    case VT_R8:
    case VT_DATE:
      made.dblVal =
          once_in(5) ? std::bit_cast<double>((std::uint64_t{random_()} << 32) | random_()) : number;
      break;
    case VT_DECIMAL:
      made.decVal.Lo64 = random_();
      made.decVal.scale = static_cast<BYTE>(below(30));
      made.decVal.sign = once_in(2) ? DECIMAL_NEG : 0;
      break;
    case VT_ERROR:
      made.scode = once_in(2) ? DISP_E_PARAMNOTFOUND : E_FAIL;
      break;
    case VT_BOOL:
      made.boolVal = static_cast<VARIANT_BOOL>(once_in(4) ? below(65536) : below(2) * 0xFFFF);
      break;
    case VT_DISPATCH:
    case VT_UNKNOWN:
      break;
    default:
      if (type >= VT_I2 && type <= VT_UINT) {
        made.llVal = once_in(3) ? static_cast<LONGLONG>(random_()) << below(33)
                                : static_cast<LONGLONG>(std::clamp(number, -9e18, 9e18));
      }
  }
  return made;
}

VARIANT MadeUpVariants::reference_to(VARIANT value) {
  // With references of its own: the callee may put something else there.
  VARIANT& kept = room_.emplace_back();
  if (FAILED(VariantCopy(&kept, &value))) value = kept;
  VARIANT made{};
  if (once_in(3) && (value.vt & VT_BYREF) == 0 && value.vt != VT_DECIMAL && value.vt <= VT_UINT &&
      value.vt >= VT_I2 && value.vt != VT_VARIANT) {
    made.vt = static_cast<VARTYPE>(VT_BYREF | value.vt);
    made.byref = &kept.llVal;
  } else {
    made.vt = VT_BYREF | VT_VARIANT;
    made.pvarVal = &kept;
  }
  if (!crossing_ && once_in(12)) made.byref = nullptr;
  return made;
}

VARIANT MadeUpVariants::array(const std::vector<ComPtr<IDispatch>>& objects, int depth) {
  constexpr std::array<VARTYPE, 7> kTypes{VT_UI1,  VT_I2,   VT_I4,     VT_R8,
                                          VT_BSTR, VT_DATE, VT_VARIANT};
  const VARTYPE type = kTypes[below(kTypes.size())];
  std::vector<SAFEARRAYBOUND> bounds(1 + below(once_in(5) ? 20 : 2));
  for (SAFEARRAYBOUND& each : bounds) {
    each = {bounds.size() > 3 ? 1 : below(4), static_cast<LONG>(random_())};
  }
  VARIANT made{};
  SAFEARRAY* created = SafeArrayCreate(type, static_cast<UINT>(bounds.size()), bounds.data());
  if (created == nullptr) return made;
  arrays_.push_back(created);
  void* data = nullptr;
  ULONG count = 1;
  for (const SAFEARRAYBOUND& each : bounds) count *= each.cElements;
  if (type == VT_VARIANT && SUCCEEDED(SafeArrayAccessData(created, &data))) {
    for (ULONG i = 0; i < count; ++i) {
      VARIANT element = any(objects, depth + 2);
      // Copied, since the array frees what is in it.
      if ((element.vt & VT_BYREF) == 0) VariantCopy(static_cast<VARIANT*>(data) + i, &element);
    }
    SafeArrayUnaccessData(created);
  }
  made.vt = static_cast<VARTYPE>(VT_ARRAY | type);
  made.parray = created;
  return made;
}

VARIANT MadeUpVariants::own_object() {
  constexpr std::array<VARTYPE, 6> kTypes{VT_EMPTY, VT_NULL, VT_I4, VT_BSTR, VT_R8, VT_BOOL};
  const VARIANT value = plain(kTypes[below(kTypes.size())]);
  const bool has_one = !once_in(3);
  VARIANT made{};
  made.vt = once_in(3) ? VT_UNKNOWN : VT_DISPATCH;
  own_.push_back(automation::com::adopt<IDispatch>(
      new OwnObject([] {},
                    [=](VARIANT& result) {
                      if (!has_one) return DISP_E_MEMBERNOTFOUND;
                      return VariantCopy(&result, const_cast<VARIANT*>(&value));
                    })));
  made.pdispVal = own_.back().Get();
  return made;
}

VARIANT MadeUpVariants::any(const std::vector<ComPtr<IDispatch>>& objects, int depth) {
  const std::uint32_t choice = below(depth < 3 ? 14 : 8);
  if (choice < 7) return plain(static_cast<VARTYPE>(below(VT_UINT + 1)));
  if (choice == 7) {
    VARIANT made{};
    made.vt = VT_DISPATCH;
    if (!objects.empty())
      made.pdispVal = objects[below(static_cast<std::uint32_t>(objects.size()))].Get();
    return made;
  }
  if (choice < 10) return reference_to(any(objects, depth + 1));
  if (choice == 10) return array(objects, depth);
  if (choice == 11) return own_object();
  if (choice == 12) {
    VARIANT made{};
    made.vt =
        static_cast<VARTYPE>(below(crossing_ ? 1 : 2) * VT_BYREF | below(crossing_ ? 0x49 : 0x80));
    if ((made.vt & VT_BYREF) != 0) made.byref = &room_.emplace_back();
    return made;
  }
  VARIANT missing{};
  missing.vt = VT_ERROR;
  missing.scode = DISP_E_PARAMNOTFOUND;
  return missing;
}

VARIANT MadeUpVariants::fitting(const automation::Type& type,
                                const std::vector<ComPtr<IDispatch>>& objects) {
  if (once_in(8)) return any(objects);
  VARIANT made{};
  switch (type.kind) {
    case Kind::kText:
      made = plain(VT_BSTR);
      break;
    case Kind::kBoolean:
      made = plain(VT_BOOL);
      break;
    case Kind::kInt16:
      made = plain(VT_I2);
      made.iVal = static_cast<SHORT>(once_in(3) ? random_() : below(5));
      break;
    case Kind::kDate:
      made = plain(VT_DATE);
      break;
    case Kind::kObject:
    case Kind::kAnyObject:
      made.vt = VT_DISPATCH;
      if (!objects.empty())
        made.pdispVal = objects[below(static_cast<std::uint32_t>(objects.size()))].Get();
      break;
    case Kind::kKeyOrPosition:
      made = plain(once_in(2) ? VT_BSTR : VT_I4);
      if (made.vt == VT_I4) made.lVal = static_cast<LONG>(below(4));
      break;
    default:
      made = plain(VT_I4);
      made.lVal = static_cast<LONG>(once_in(3) ? random_() : below(6));
  }
  return once_in(4) ? reference_to(made) : made;
}

bool MadeUpVariants::forget() {
  for (VARIANT& each : room_) VariantClear(&each);
  for (SAFEARRAY* each : arrays_) SafeArrayDestroy(each);
  for (BSTR each : texts_) SysFreeString(each);
  bool held_here_alone = true;
  for (const ComPtr<IDispatch>& each : own_) {
    each->AddRef();
    held_here_alone = each->Release() == 1 && held_here_alone;
  }
  arrays_.clear();
  texts_.clear();
  room_.clear();
  own_.clear();
  return held_here_alone;
}

}  // namespace tarnwick::test_support
