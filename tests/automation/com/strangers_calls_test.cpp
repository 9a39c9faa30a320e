// Calls that no well-meant client makes, to the real server process.

#include <array>
#include <set>
#include <string>

#include "automation/com/class_table.h"
#include "automation/com/errors.h"
#include "automation/com/values.h"
#include "tests/automation/com/strangers.h"

namespace tarnwick::automation::com {
namespace {

using test_support::kCall;
using test_support::kMegabyte;
using test_support::LateBound;
using test_support::Outcome;
using test_support::Var;

/// What came of a call of `id` with the arguments as they stand: the HRESULT, or the one of the
/// exception. An exception says whose it is and what it means; nothing else has a result.
HRESULT invoke(const LateBound& object, DISPID id, WORD flags, DISPPARAMS parameters,
               const IID& iid = IID_NULL, LCID locale = LOCALE_USER_DEFAULT) {
  EXCEPINFO exception{};
  UINT culprit = 0;
  Var result;
  const HRESULT done =
      object.get()->Invoke(id, iid, locale, flags, &parameters, result.get(), &exception, &culprit);
  if (FAILED(done) && result.type() == VT_DISPATCH) {
    EXPECT_EQ(result.value().pdispVal, nullptr);
  } else if (FAILED(done)) {
    EXPECT_EQ(result.type(), VT_EMPTY);
  }
  if (done != DISP_E_EXCEPTION) return done;
  EXPECT_GT(SysStringLen(exception.bstrSource), 0u);
  EXPECT_GT(SysStringLen(exception.bstrDescription), 0u);
  SysFreeString(exception.bstrSource);
  SysFreeString(exception.bstrDescription);
  SysFreeString(exception.bstrHelpFile);
  return exception.scode;
}

class StrangeCalls : public test_support::Strangers {
 protected:
  /// Calls `body` with an object of each class, the class and each of its members.
  template <class Body>
  void for_all_members(Body&& body) {
    const std::vector<LateBound> all = objects();
    for (std::size_t i = 0; i < all.size(); ++i) {
      const Class& of = class_of(static_cast<ClassId>(i));
      for (const Member& member : of.members) {
        SCOPED_TRACE(std::string(of.name) + "." + std::string(member.name));
        body(all[i], member);
      }
    }
  }

  [[nodiscard]] LateBound report() const { return server_.object(L"Reports").object(L"Item", {1}); }
};

TEST_F(StrangeCalls, OfMembersThatThereAreNotAreRefused) {
  for (const LateBound& object : objects()) {
    for (const DISPID id : {-1, -2, -3, -5, -6, -613, 99, 0x10000, INT32_MAX, INT32_MIN}) {
      for (const auto flags :
           std::initializer_list<WORD>{0, 1, 2, 3, 4, 8, 12, 15, 0x4000, 0xFFFF}) {
        EXPECT_EQ(invoke(object, id, flags, {}), DISP_E_MEMBERNOTFOUND) << id << ' ' << flags;
      }
    }
  }
}

TEST_F(StrangeCalls, InAWayThatAMemberIsNotUsedAreRefused) {
  for_all_members([](const LateBound& object, const Member& member) {
    Var value(1);
    DISPID put = DISPID_PROPERTYPUT;
    const DISPPARAMS parameters{value.get(), &put, 1, 1};
    if (member.access != Member::Access::kGetLet) {
      for (const auto flags : std::initializer_list<WORD>{4, 8, 12, 15, 0xFFFF}) {
        EXPECT_EQ(invoke(object, member.id, flags, parameters), DISP_E_MEMBERNOTFOUND);
      }
    } else {
      EXPECT_EQ(invoke(object, member.id, DISPATCH_PROPERTYPUTREF, parameters),
                DISP_E_MEMBERNOTFOUND);
    }
    if (!member.arguments.empty()) return;
    for (const auto flags : std::initializer_list<WORD>{0, 0x4000, 0x10}) {
      EXPECT_EQ(invoke(object, member.id, flags, {}), DISP_E_MEMBERNOTFOUND) << flags;
    }
  });
}

TEST_F(StrangeCalls, WithTooManyArgumentsAreRefused) {
  std::vector<VARIANTARG> arguments(2'001);
  for_all_members([&](const LateBound& object, const Member& member) {
    const Kind kind = member.result.kind;
    const bool hands_on = member.access == Member::Access::kGet && member.arguments.empty() &&
                          (kind == Kind::kObject || kind == Kind::kCollection);
    // What is handed on is a key or a position too many.
    const std::size_t known = member.arguments.size() + (hands_on ? 1 : 0);
    for (const std::size_t count : {known + 1, std::size_t{2'000}}) {
      const auto given = static_cast<UINT>(count);
      EXPECT_EQ(invoke(object, member.id, kCall, {arguments.data(), nullptr, given, 0}),
                DISP_E_BADPARAMCOUNT);
      if (member.access != Member::Access::kGetLet) continue;
      EXPECT_EQ(invoke(object, member.id, DISPATCH_PROPERTYPUT,
                       {arguments.data(), nullptr, given + 1, 0}),
                DISP_E_BADPARAMCOUNT);
    }
  });
}

TEST_F(StrangeCalls, WithNamesThatFitNoArgumentAreRefused) {
  Var values[]{1, 2, 3};
  VARIANTARG arguments[]{values[0].value(), values[1].value(), values[2].value()};
  for_all_members([&](const LateBound& object, const Member& member) {
    if (member.arguments.empty()) return;
    DISPID astray[]{99, -1, INT32_MIN};
    EXPECT_EQ(invoke(object, member.id, kCall, {arguments, astray, 1, 1}), DISP_E_PARAMNOTFOUND);
    EXPECT_EQ(invoke(object, member.id, kCall, {arguments, astray + 1, 1, 1}),
              DISP_E_PARAMNOTFOUND);
    EXPECT_EQ(invoke(object, member.id, kCall, {arguments, astray + 2, 1, 1}),
              DISP_E_PARAMNOTFOUND);
    EXPECT_EQ(invoke(object, member.id, kCall, {arguments, astray, 1, 3}), DISP_E_BADPARAMCOUNT);
    if (member.arguments.size() < 2) return;
    DISPID twice[]{0, 0};
    EXPECT_EQ(invoke(object, member.id, kCall, {arguments, twice, 2, 2}), DISP_E_PARAMNOTFOUND);
    DISPID placed[]{0};  // by place too
    EXPECT_EQ(invoke(object, member.id, kCall, {arguments, placed, 2, 1}), DISP_E_PARAMNOTFOUND);
  });
}

TEST_F(StrangeCalls, ThatSayThereAreNamesAndGiveNoneAreRefused) {
  Var value(1);
  for (const LateBound& object : objects()) {
    for (const auto flags : std::initializer_list<WORD>{1, 2, 3, 4}) {
      EXPECT_EQ(invoke(object, 1, flags, {value.get(), nullptr, 1, 1}), E_POINTER);
    }
  }
}

TEST_F(StrangeCalls, MayNameAnyLocaleAndAnyInterface) {
  for (const LCID locale : {LCID{0}, LCID{0xFFFFFFFF}, LCID{0x0407}, LCID{0x1234}}) {
    for (const IID& iid : {IID_NULL, IID_IDispatch, IID_IStream}) {
      DISPID id = 0;
      wchar_t name[] = L"name";
      LPOLESTR names = name;
      EXPECT_EQ(report().get()->GetIDsOfNames(iid, &names, 1, locale, &id), S_OK);
      EXPECT_EQ(invoke(report(), id, DISPATCH_PROPERTYGET, {}, iid, locale), S_OK);
    }
  }
}

TEST_F(StrangeCalls, AskForNamesThatThereAreNot) {
  std::wstring megabyte(kMegabyte, L'x');
  std::wstring prefix = L"Nam";
  std::wstring longer = L"Names";
  std::wstring empty;
  for (const LateBound& object : objects()) {
    for (std::wstring* each : {&megabyte, &prefix, &longer, &empty}) {
      DISPID id = 0;
      LPOLESTR names = each->data();
      EXPECT_EQ(object.get()->GetIDsOfNames(IID_NULL, &names, 1, 0, &id), DISP_E_UNKNOWNNAME);
    }
    std::vector<LPOLESTR> many(5000, longer.data());
    std::vector<DISPID> ids(many.size());
    EXPECT_EQ(object.get()->GetIDsOfNames(IID_NULL, many.data(), 5000, 0, ids.data()),
              DISP_E_UNKNOWNNAME);
    DISPID id = 0;
    EXPECT_TRUE(FAILED(object.get()->GetIDsOfNames(IID_NULL, many.data(), 0, 0, &id)));
    LPOLESTR none = nullptr;
    EXPECT_TRUE(FAILED(object.get()->GetIDsOfNames(IID_NULL, &none, 1, 0, &id)));
  }
}

TEST_F(StrangeCalls, AskForInterfacesThatThereAreNot) {
  std::vector<IID> strange{IID_IStream,       IID_IPersist,   IID_IOleObject, IID_IEnumVARIANT,
                           IID_IClassFactory, IID_IErrorInfo, IID_NULL};
  for (unsigned long i = 0; i < 20; ++i) {
    strange.push_back({0x27B2313B + i, 0x90E0, 0x43C7, {0x8A, 0xE7, 0x32, 0xD1, 0x92, 0x63, 1, 1}});
  }
  for (const LateBound& object : objects()) {
    for (const IID& iid : strange) {
      ComPtr<IUnknown> found;
      EXPECT_EQ(object.get()->QueryInterface(iid, reinterpret_cast<void**>(found.GetAddressOf())),
                E_NOINTERFACE);
      EXPECT_EQ(found.Get(), nullptr);
    }
  }
  // Those of the other classes.
  const std::vector<LateBound> all = objects();
  for (std::size_t of = 0; of < all.size(); ++of) {
    for (std::size_t i = 0; i < class_table().size(); ++i) {
      ComPtr<IUnknown> found;
      EXPECT_EQ(all[of].get()->QueryInterface(class_table()[i].interface_id,
                                              reinterpret_cast<void**>(found.GetAddressOf())),
                i == of ? S_OK : E_NOINTERFACE);
    }
  }
}

/// Variants of every type that there is a number for, with what a client may put behind it. Those
/// that COM does not carry never leave the client.
class VariantsOfAllTypes {
 public:
  VariantsOfAllTypes() {
    for (int type = 0; type <= 0x48; ++type) add(static_cast<VARTYPE>(type));
    for (const int type : {0x0FFF, 0x1000, 0x1003, 0x4800, 0x8000, 0xC003, 0xFFFF}) {
      add(static_cast<VARTYPE>(type));
    }
    for (int type = 0; type <= VT_UINT; ++type) add(static_cast<VARTYPE>(VT_BYREF | type));
    for (int type = VT_I2; type <= VT_UINT; ++type) {
      SAFEARRAY* array = SafeArrayCreateVector(static_cast<VARTYPE>(type), -5, 3);
      if (array == nullptr) continue;
      arrays_.push_back(array);
      add(static_cast<VARTYPE>(VT_ARRAY | type)).parray = array;
    }
    for (SAFEARRAY* array : strange_arrays()) {
      arrays_.push_back(array);
      add(VT_ARRAY | VT_VARIANT).parray = array;
    }
    for (SAFEARRAY*& array : arrays_) {
      VARTYPE type = VT_EMPTY;
      SafeArrayGetVartype(array, &type);
      add(static_cast<VARTYPE>(VT_BYREF | VT_ARRAY | type)).pparray = &array;
    }
    add(VT_BYREF | VT_VARIANT).pvarVal = inner_.get();
    add(VT_R8).dblVal = std::numeric_limits<double>::quiet_NaN();
    add(VT_R8).dblVal = std::numeric_limits<double>::infinity();
    add(VT_DATE).date = 1e300;
    add(VT_DATE).date = std::numeric_limits<double>::quiet_NaN();
    add(VT_I8).llVal = INT64_MIN;
    add(VT_UI8).ullVal = UINT64_MAX;
    add(VT_BOOL).boolVal = 7;
    add(VT_ERROR).scode = DISP_E_PARAMNOTFOUND;
    add(VT_ERROR).scode = E_FAIL;
  }
  ~VariantsOfAllTypes() {
    for (SAFEARRAY* array : arrays_) SafeArrayDestroy(array);
  }
  VariantsOfAllTypes(const VariantsOfAllTypes&) = delete;
  VariantsOfAllTypes& operator=(const VariantsOfAllTypes&) = delete;

  [[nodiscard]] const std::vector<VARIANTARG>& all() const { return all_; }

 private:
  VARIANTARG& add(VARTYPE type) {
    VARIANTARG& added = all_.emplace_back();
    added.vt = type;
    if ((type & VT_BYREF) != 0) added.byref = room_.data();
    return added;
  }

  static std::vector<SAFEARRAY*> strange_arrays() {
    std::vector<SAFEARRAYBOUND> many(60, SAFEARRAYBOUND{1, INT32_MAX});
    SAFEARRAYBOUND none{0, INT32_MIN};
    SAFEARRAYBOUND last{1, INT32_MAX};
    SAFEARRAYBOUND some[]{{3, -1}, {0, 7}, {2, 0}};
    return {SafeArrayCreate(VT_VARIANT, 60, many.data()), SafeArrayCreate(VT_VARIANT, 1, &none),
            SafeArrayCreate(VT_VARIANT, 1, &last), SafeArrayCreate(VT_VARIANT, 3, some)};
  }

  std::vector<VARIANTARG> all_;
  std::deque<SAFEARRAY*> arrays_;
  std::array<double, 64> room_{};
  Var inner_{u"inner"};
};

/// Whether late-bound calls may end so. `code`: of the exception where there was one.
bool is_an_answer(HRESULT code) {
  switch (code) {
    case S_OK:
    case DISP_E_TYPEMISMATCH:
    case DISP_E_OVERFLOW:
    case DISP_E_BADVARTYPE:
    case DISP_E_PARAMNOTOPTIONAL:
    case DISP_E_ARRAYISLOCKED:
    case E_INVALIDARG:
      return true;
    default:
      return false;
  }
}

/// Whether COM itself refused to carry an argument to the server. A fault of the server is none.
bool is_of_com(HRESULT code) {
  return code == HRESULT_FROM_WIN32(RPC_S_INVALID_TAG) ||
         code == HRESULT_FROM_WIN32(RPC_X_BAD_STUB_DATA) ||
         code == HRESULT_FROM_WIN32(RPC_X_NULL_REF_POINTER);
}

TEST_F(StrangeCalls, WithVariantsOfEveryTypeAreAnswered) {
  const VariantsOfAllTypes variants;
  const LateBound made = LateBound::create(L"Tarnwick.Report");
  const LateBound components = server_.object(L"Components");
  const LateBound rows = LateBound::create(L"Tarnwick.Rows");
  int carried = 0;
  for (const VARIANTARG& variant : variants.all()) {
    SCOPED_TRACE(variant.vt);
    VARIANTARG argument = variant;
    const auto answered = [&](const LateBound& object, DISPID id, WORD flags) {
      const HRESULT code = invoke(object, id, flags, {&argument, nullptr, 1, 0});
      if (!is_of_com(code)) ++carried;
      EXPECT_TRUE(is_an_answer(code) || is_of_com(code) || code == hresult_of(94) ||
                  code == hresult_of(91) || code == hresult_of(13) || code == hresult_of(9) ||
                  code == hresult_of(5) || code == hresult_of(6))
          << std::hex << code;
    };
    for (const Member& member : class_of(ClassId::kReport).members) {
      if (member.access != Member::Access::kGetLet) continue;
      answered(made, member.id, DISPATCH_PROPERTYPUT);
    }
    answered(components, DISPID_VALUE, DISPATCH_PROPERTYGET);
    answered(server_.object(L"RegisteredPCs"), DISPID_VALUE, DISPATCH_PROPERTYGET);
    answered(components, 3, DISPATCH_METHOD);  // AddCompObject
    answered(components, 4, DISPATCH_METHOD);  // Exists
    answered(rows, 2, DISPATCH_METHOD);        // Look
  }
  EXPECT_GT(carried, 1000);
  EXPECT_EQ(components.call(L"Count").number(), 1);
}

TEST_F(StrangeCalls, MayGiveTextsOfAnyLengthAndForm) {
  const LateBound made = LateBound::create(L"Tarnwick.Report");
  const DISPID title = find_member(class_of(ClassId::kReport), "Title")->id;
  const auto put = [&](BSTR text) {
    VARIANTARG argument{};
    argument.vt = VT_BSTR;
    argument.bstrVal = text;
    EXPECT_EQ(invoke(made, title, DISPATCH_PROPERTYPUT, {&argument, nullptr, 1, 0}), S_OK);
    SysFreeString(text);
    return made.call(L"Title").text();
  };
  EXPECT_EQ(put(nullptr), u"");
  // Half a character may get lost on its way.
  EXPECT_EQ(put(SysAllocStringByteLen("abcde", 5)).substr(0, 2), u"\u6261\u6463");
  EXPECT_LE(put(SysAllocStringByteLen("a", 1)).size(), 1u);
  EXPECT_EQ(put(SysAllocStringLen(L"a\0b\0\0", 5)), Text(u"a\0b\0\0", 5));
  EXPECT_EQ(put(SysAllocStringLen(L"\xD800\xDC00\xDC00\xFFFF\xFEFF", 5)),
            u"\xD800\xDC00\xDC00\xFFFF\xFEFF");
  const Text huge(8 * kMegabyte / sizeof(char16_t), u'x');
  EXPECT_TRUE(put(to_bstr(huge)) == huge);
  const std::size_t memory = process_.memory();
  for (int i = 0; i < 3; ++i) EXPECT_EQ(put(to_bstr(huge)).size(), huge.size());
  EXPECT_LT(process_.memory(), memory + 4 * huge.size() * sizeof(char16_t));
  EXPECT_EQ(put(nullptr), u"");
}

}  // namespace
}  // namespace tarnwick::automation::com
