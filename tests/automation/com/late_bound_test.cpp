#include "tests/automation/com/late_bound.h"

#include <dispex.h>

#include <tuple>

#include "automation/com/apartment.h"
#include "automation/com/class_table.h"
#include "automation/com/errors.h"
#include "automation/com/values.h"
#include "automation/model.h"
#include "platform/unattended_message_box.h"
#include "platform/windows/host.h"
#include "tests/automation/com/connected_client.h"

namespace tarnwick::automation::com {
namespace {

using test_support::ConnectedClient;
using test_support::LateBound;
using test_support::Outcome;
using test_support::Var;

constexpr WORD kCall = DISPATCH_METHOD | DISPATCH_PROPERTYGET;

VARTYPE expected_type(const Type& type) {
  switch (type.kind) {
    case Kind::kText:
      return VT_BSTR;
    case Kind::kBoolean:
      return VT_BOOL;
    case Kind::kInt16:
      return VT_I2;
    case Kind::kInt32:
    case Kind::kEnumeration:
      return VT_I4;
    case Kind::kDate:
      return VT_DATE;
    case Kind::kObject:
    case Kind::kCollection:
      return VT_DISPATCH;
    case Kind::kEnumerator:
      return VT_UNKNOWN;
    default:
      return VT_EMPTY;
  }
}

Var some(const Type& type) {
  switch (type.kind) {
    case Kind::kText:
      return u"x";
    case Kind::kBoolean:
      return true;
    case Kind::kDate:
      return Var::date(45000.5);
    case Kind::kObject:
      return static_cast<IDispatch*>(nullptr);
    default:
      return 1;
  }
}

class LateBoundClient : public ConnectedClient {
 protected:
  LateBoundClient() {
    EXPECT_EQ(stored_component(1, u"One").call(L"Key").text(), u"C1");
    EXPECT_EQ(pc().call(L"Update").number(), OK_ue) << to_display_utf8(message());
    EXPECT_EQ(report().call(L"Update").number(), OK_ue) << to_display_utf8(message());
  }

  [[nodiscard]] LateBound components() const { return server_.object(L"Components"); }
  [[nodiscard]] LateBound component() const { return components().object(L"Item", {1}); }
  [[nodiscard]] LateBound pcs() const { return server_.object(L"RegisteredPCs"); }
  [[nodiscard]] LateBound pc() const {
    if (pcs().call(L"Count").number() > 0) return pcs().object(L"Item", {1});
    return pcs().object(L"Add", {u"MAC", 1, u"PC-1", u"me", Var::date(45000.0)});
  }
  [[nodiscard]] LateBound reports() const { return server_.object(L"Reports"); }
  [[nodiscard]] LateBound report() const {
    if (reports().call(L"Count").number() > 0) return reports().object(L"Item", {1});
    return reports().object(L"Add", {u"Sales", u"Title", u"Author", Var::date(45000.25), u"1.0",
                                     u"G", 11, u"Select 1", u"", 1, u"Text", 4, u"", u"Def"});
  }

  [[nodiscard]] LateBound object_of(const ClassEntry& entry) const {
    const auto position = static_cast<std::size_t>(&entry - class_table().data());
    if (position >= kClassCount) return LateBound::create(entry.prog_id);
    return object_of(static_cast<ClassId>(position));
  }
  [[nodiscard]] LateBound object_of(ClassId id) const {
    switch (id) {
      case ClassId::kServer:
        return server_;
      case ClassId::kComponents:
        return components();
      case ClassId::kComponent:
        return component();
      case ClassId::kRegisteredPCs:
        return pcs();
      case ClassId::kRegisteredPC:
        return pc();
      case ClassId::kReports:
        return reports();
      case ClassId::kReport:
        return report();
    }
    return server_;
  }
};

TEST_F(LateBoundClient, ReachesEveryMemberOfEveryClassAndIsGivenTheTypeOfTheTable) {
  int members = 0;
  for (std::size_t i = 0; i < kClassCount; ++i) {
    const auto id = static_cast<ClassId>(i);
    const LateBound object = object_of(id);
    for (const Member& member : class_of(id).members) {
      if (member.name == "Delete") continue;  // has a test of its own, at the end
      SCOPED_TRACE(std::string(class_of(id).name) + "." + std::string(member.name));
      const std::wstring name = platform::to_wide(from_utf8(member.name));
      std::vector<Var> arguments;
      if (member.name == "SetConnection") {
        arguments = {u"", u"", u""};
      } else {
        for (const Argument& argument : member.arguments) arguments.push_back(some(argument.type));
      }
      const Outcome outcome = object.attempt(name.c_str(), kCall, arguments);
      EXPECT_EQ(outcome.result, S_OK);
      EXPECT_EQ(outcome.value.type(), expected_type(member.result));
      ++members;
      if (member.access != Member::Access::kGetLet) continue;
      object.put(name.c_str(), outcome.value);
      const Var again = object.call(name.c_str());
      EXPECT_EQ(VarCmp(const_cast<VARIANT*>(&again.value()),
                       const_cast<VARIANT*>(&outcome.value.value()), LOCALE_USER_DEFAULT, 0),
                static_cast<HRESULT>(VARCMP_EQ));
    }
  }
  EXPECT_EQ(members, 125);
}

TEST_F(LateBoundClient, WritesLocksReleasesAndDeletesRecordsOfAllKinds) {
  for (const LateBound& record : {component(), pc(), report()}) {
    ASSERT_TRUE(server_.call(L"Refresh").boolean());
    EXPECT_TRUE(record.call(L"LockRecord").boolean()) << to_display_utf8(message());
    EXPECT_TRUE(record.call(L"Locked").boolean());
    EXPECT_TRUE(record.call(L"ReleaseRecord").boolean());
    EXPECT_FALSE(record.call(L"Locked").boolean());
  }
  const LateBound fresh = report();
  fresh.put(L"Title", u"Another");
  EXPECT_TRUE(fresh.call(L"Changed").boolean());
  EXPECT_EQ(fresh.call(L"Update").number(), OK_ue) << to_display_utf8(message());
  ASSERT_TRUE(server_.call(L"Refresh").boolean());
  EXPECT_EQ(report().call(L"Title").text(), u"Another");
  for (const LateBound& record : {component(), pc(), report()}) {
    EXPECT_TRUE(record.call(L"Delete").boolean());
  }
  EXPECT_EQ(components().call(L"Count").number(), 0);
  EXPECT_EQ(pcs().call(L"Count").number(), 0);
  EXPECT_EQ(reports().call(L"Count").number(), 0);
}

TEST_F(LateBoundClient, WalksEveryCollection) {
  EXPECT_EQ(stored_component(2, u"Two").call(L"Key").text(), u"C2");
  std::vector<Text> keys;
  for (const LateBound& each : components().each()) keys.push_back(each.call(L"Key").text());
  EXPECT_EQ(keys, (std::vector<Text>{u"C1", u"C2"}));
  ASSERT_EQ(pcs().each().size(), 1u);
  EXPECT_EQ(pcs().each()[0].call(L"MACNumber").text(), u"MAC");
  ASSERT_EQ(reports().each().size(), 1u);
  EXPECT_EQ(reports().each()[0].call(L"Name").text(), u"Sales");
}

TEST_F(LateBoundClient, ReadsThePlainCollections) {
  const LateBound of_component = component().object(L"PCs");
  EXPECT_EQ(of_component.call(L"Count").number(), 1);
  EXPECT_EQ(of_component.object(L"Item", {1}).call(L"MACNumber").text(), u"MAC");
  EXPECT_EQ(of_component.object(L"Item", {u"mac\u00FEpc-1\u00FE1"}).call(L"ComputerID").text(),
            u"PC-1");
  EXPECT_EQ(of_component.each().size(), 1u);
  const Outcome outcome = of_component.attempt(L"Item", kCall, {2});
  EXPECT_EQ(outcome.result, DISP_E_EXCEPTION);
  EXPECT_EQ(outcome.error, hresult_of(9));
  EXPECT_EQ(components().object(L"FindMetaID", {u"nobody"}).call(L"Count").number(), 0);
}

TEST_F(LateBoundClient, MeetsTheSameObjectUnderKeyAndPosition) {
  ComPtr<IUnknown> by_key;
  ComPtr<IUnknown> by_position;
  ASSERT_EQ(components().object(L"Item", {u"c1"}).get()->QueryInterface(IID_PPV_ARGS(&by_key)),
            S_OK);
  ASSERT_EQ(component().get()->QueryInterface(IID_PPV_ARGS(&by_position)), S_OK);
  EXPECT_EQ(by_key.Get(), by_position.Get());
}

TEST_F(LateBoundClient, PassesScriptVariablesByReference) {
  Var key(u"C1");
  EXPECT_EQ(components().object(L"Item", {Var::reference(key)}).call(L"Name").text(), u"One");
  Var position(1);
  EXPECT_EQ(components().object(L"Item", {Var::reference(position)}).call(L"Name").text(), u"One");
  Var title(u"By reference");
  report().put(L"Title", Var::reference(title));
  EXPECT_EQ(report().call(L"Title").text(), u"By reference");
}

TEST_F(LateBoundClient, PassesVariablesOfItsOwnTypesByReference) {
  short id = 3;
  BSTR text = to_bstr(u"M3");
  DATE date = 45003.5;
  VARIANT_BOOL active = VARIANT_FALSE;
  long logins = 70000;
  VARIANTARG arguments[11];  // the last one first
  for (VARIANTARG& argument : arguments) {
    argument.vt = VT_ERROR;
    argument.scode = DISP_E_PARAMNOTFOUND;
  }
  const auto set = [&](int place, VARTYPE type, void* variable) {
    arguments[10 - place].vt = static_cast<VARTYPE>(VT_BYREF | type);
    arguments[10 - place].byref = variable;
  };
  set(0, VT_BSTR, &text);
  set(1, VT_I2, &id);
  set(2, VT_BSTR, &text);
  set(3, VT_BSTR, &text);
  set(4, VT_DATE, &date);
  set(5, VT_BOOL, &active);
  set(10, VT_I4, &logins);
  DISPPARAMS parameters{arguments, nullptr, 11, 0};
  Var made;
  EXPECT_EQ(pcs().get()->Invoke(2, IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters,
                                made.get(), nullptr, nullptr),
            S_OK);
  SysFreeString(text);
  ASSERT_EQ(made.type(), VT_DISPATCH);
  const LateBound pc(made.object());
  EXPECT_EQ(pc.call(L"Key").text(), u"M3\u00FEM3\u00FE3");
  EXPECT_EQ(pc.call(L"ActivateDate").days(), 45003.5);
  EXPECT_FALSE(pc.call(L"Active").boolean());
  EXPECT_EQ(pc.call(L"ImageIndex").number(), 10);
  EXPECT_EQ(pc.call(L"TotalLogins").number(), 70000);
}

TEST_F(LateBoundClient, MayHandOnAnArgumentThatItWasNotGiven) {
  Var missing = Var::missing();
  const LateBound made =
      pcs().object(L"Add", {u"M4", 4, u"PC-4", u"me", Var::date(1.0), Var::reference(missing)});
  EXPECT_TRUE(made.call(L"Active").boolean());
}

TEST_F(LateBoundClient, LeavesOptionalArgumentsOutAtTheEndAndInBetween) {
  const LateBound short_call = pcs().object(L"Add", {u"M2", 2, u"PC-2", u"me", Var::date(1.0)});
  EXPECT_TRUE(short_call.call(L"Active").boolean());
  EXPECT_EQ(short_call.call(L"MaintenanceType").number(), PCReg_mt);
  EXPECT_EQ(short_call.call(L"ImageIndex").number(), 10);
  EXPECT_EQ(short_call.call(L"LastLogin").days(), 0.0);
  EXPECT_EQ(short_call.call(L"SoftwareVersion").text(), u"");
  const LateBound gaps =
      pcs().object(L"Add", {u"M3", 3, u"PC-3", u"me", Var::date(1.0), Var::missing(),
                            Var::missing(), 4, Var::missing(), Var::missing(), 17});
  EXPECT_TRUE(gaps.call(L"Active").boolean());
  EXPECT_EQ(gaps.call(L"ImageIndex").number(), 4);
  EXPECT_EQ(gaps.call(L"LastUser").text(), u"");
  EXPECT_EQ(gaps.call(L"LastLogin").days(), 0.0);
  EXPECT_EQ(gaps.call(L"TotalLogins").number(), 17);
}

TEST_F(LateBoundClient, MayNameItsArguments) {
  const LateBound all = pcs();
  wchar_t method[] = L"Add";
  wchar_t first[] = L"lTotalLogins";
  wchar_t second[] = L"SCOMPUTERID";
  wchar_t third[] = L"sActivatedBy";
  wchar_t fourth[] = L"datActivateDate";
  LPOLESTR names[]{method, first, second, third, fourth};
  DISPID ids[5]{};
  ASSERT_EQ(all.get()->GetIDsOfNames(IID_NULL, names, 5, LOCALE_USER_DEFAULT, ids), S_OK);
  Var values[]{17, u"PC-5", u"me", Var::date(1.0),
               5,  u"M5"};  // named ones, then the last one first
  VARIANTARG arguments[6];
  for (int i = 0; i < 6; ++i) arguments[i] = values[i].value();
  DISPPARAMS parameters{arguments, ids + 1, 6, 4};
  Var made;
  ASSERT_EQ(all.get()->Invoke(ids[0], IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &parameters,
                              made.get(), nullptr, nullptr),
            S_OK);
  const LateBound pc(made.object());
  EXPECT_EQ(pc.call(L"Key").text(), u"M5\u00FEPC-5\u00FE5");
  EXPECT_EQ(pc.call(L"TotalLogins").number(), 17);
  EXPECT_TRUE(pc.call(L"Active").boolean());

  DISPID unknown = 99;
  DISPPARAMS astray{arguments, &unknown, 1, 1};
  EXPECT_EQ(all.get()->Invoke(ids[0], IID_NULL, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &astray,
                              nullptr, nullptr, nullptr),
            DISP_E_PARAMNOTFOUND);
}

TEST_F(LateBoundClient, IsToldWhereARequiredArgumentIsMissing) {
  EXPECT_EQ(components().attempt(L"Exists", kCall, {}).result, DISP_E_PARAMNOTOPTIONAL);
  EXPECT_EQ(components().attempt(L"Exists", kCall, {Var::missing()}).result,
            DISP_E_PARAMNOTOPTIONAL);
  EXPECT_EQ(components().attempt(L"Exists", kCall, {u"C1", 2}).result, DISP_E_BADPARAMCOUNT);
}

TEST_F(LateBoundClient, MayGiveNumbersAsTextAndEmptyForNothing) {
  const LateBound made =
      components().object(L"Add", {u"12", 34, Var(), u"3", 1.4, 1, u"2", 0, Var(), u"grp"});
  EXPECT_EQ(made.call(L"CompID").number(), 12);
  EXPECT_EQ(made.call(L"Name").text(), u"34");
  EXPECT_EQ(made.call(L"ParentID").number(), 0);
  EXPECT_EQ(made.call(L"Priority").number(), 3);
  EXPECT_EQ(made.call(L"ImageIndex").number(), 1);
  EXPECT_TRUE(made.call(L"ForceDisplay").boolean());
  EXPECT_EQ(made.call(L"MaintenanceType").number(), Component_mt);
  EXPECT_EQ(made.call(L"ServerName").text(), u"");
}

TEST_F(LateBoundClient, MayNotGiveNullOrWhatDoesNotConvert) {
  const Outcome null = components().attempt(L"Exists", kCall, {Var::null()});
  EXPECT_EQ(null.result, DISP_E_EXCEPTION);
  EXPECT_EQ(null.error, hresult_of(94));
  EXPECT_EQ(null.description, u"Invalid use of Null");
  const Outcome text = report().attempt(L"ImageIndex", DISPATCH_PROPERTYPUT, {u"many"});
  EXPECT_EQ(text.result, DISP_E_TYPEMISMATCH);
  const Outcome overflow = report().attempt(L"ImageIndex", DISPATCH_PROPERTYPUT, {40000});
  EXPECT_EQ(overflow.result, DISP_E_OVERFLOW);
  EXPECT_EQ(report().call(L"ImageIndex").number(), 11);
}

TEST_F(LateBoundClient, IsGivenNumberSourceAndDescriptionWhereAMemberFails) {
  const Outcome unknown = pcs().attempt(L"Item", kCall, {u"nobody"});
  EXPECT_EQ(unknown.result, DISP_E_EXCEPTION);
  EXPECT_EQ(unknown.error, hresult_of(5));
  EXPECT_EQ(unknown.source, u"Tarnwick.RegisteredPCs");
  EXPECT_EQ(unknown.description, u"Invalid procedure call or argument");
  EXPECT_EQ(pcs().attempt(L"Item", kCall, {0}).error, hresult_of(9));
  EXPECT_EQ(pcs().attempt(L"Item", kCall, {server_.get()}).error, hresult_of(13));
}

TEST_F(LateBoundClient, IsGivenTheFailureValueWhereErrorsStayInside) {
  EXPECT_EQ(components().call(L"Item", {u"nobody"}).object(), nullptr);
  EXPECT_EQ(components().call(L"Item", {99}).object(), nullptr);
  EXPECT_FALSE(components().call(L"AddCompObject", {static_cast<IDispatch*>(nullptr)}).boolean());
  EXPECT_FALSE(component().call(L"Refresh").boolean());
  EXPECT_NE(server_.call(L"LastErrorNumber").number(), 0);
}

TEST_F(LateBoundClient, PutsObjectsOfTheServerIntoItsCollectionsAndNoOthers) {
  const LateBound made = components().object(L"Add", {5, u"Five", 0, 1, 1, true, 2, 1, u"", u""});
  EXPECT_FALSE(components().call(L"AddCompObject", {made.get()}).boolean());
  EXPECT_EQ(components().attempt(L"AddCompObject", kCall, {report().get()}).result,
            DISP_E_TYPEMISMATCH);
}

TEST_F(LateBoundClient, IsToldThatAnObjectOfAnotherProcessCannotBeKept) {
  platform::UnattendedMessageBox box{platform::WhenLocked{}, [](TextView) {}};
  platform::WindowsHost host{box};
  SharedState state{host, {}};
  const TypeLibrary types(platform::executable_file_name());
  ProcessLife life(GetCurrentThreadId());
  const Events events([](const Event&) {});
  Apartment apartment(state, types, life, events);
  for (const auto& [class_id, collection, adder] :
       {std::tuple{ClassId::kComponent, components(), L"AddCompObject"},
        std::tuple{ClassId::kRegisteredPC, pcs(), L"AddPCObject"},
        std::tuple{ClassId::kReport, reports(), L"AddReportObject"}}) {
    const int count = collection.call(L"Count").number();
    ComPtr<IDispatch> own;
    ASSERT_EQ(apartment.reference_to(class_of(class_id).create(state)).As(&own), S_OK);
    const Outcome outcome = collection.attempt(adder, kCall, {own.Get()});
    EXPECT_EQ(outcome.result, DISP_E_EXCEPTION);
    EXPECT_EQ(outcome.error, hresult_of(13));
    EXPECT_EQ(outcome.description,
              u"The object belongs to another process; only objects of this server can be kept "
              u"here.");
    EXPECT_EQ(collection.call(L"Count").number(), count);
  }
}

TEST_F(LateBoundClient, GivesArgumentsOfAnObjectPropertyToTheDefaultMember) {
  EXPECT_EQ(server_.object(L"Components", {u"c1"}).call(L"Name").text(), u"One");
  EXPECT_EQ(server_.object(L"RegisteredPCs", {1}).call(L"MACNumber").text(), u"MAC");
  EXPECT_EQ(component().object(L"PCs", {1}).call(L"MACNumber").text(), u"MAC");
  EXPECT_EQ(server_.attempt(L"RegisteredPCs", kCall, {2}).error, hresult_of(9));
  EXPECT_EQ(server_.attempt(L"Components", kCall, {1, 2}).result, DISP_E_BADPARAMCOUNT);
  EXPECT_EQ(server_.attempt(L"Initialized", kCall, {1}).result, DISP_E_BADPARAMCOUNT);
}

TEST_F(LateBoundClient, MayAskAnObjectForItsClassAndForItsErrors) {
  for (const ClassEntry& entry : class_table()) {
    SCOPED_TRACE(to_display_utf8(platform::from_wide(entry.name)));
    const LateBound object = object_of(entry);
    ComPtr<IProvideClassInfo> provider;
    ASSERT_EQ(object.get()->QueryInterface(IID_PPV_ARGS(&provider)), S_OK);
    ComPtr<ITypeInfo> info;
    ASSERT_EQ(provider->GetClassInfo(&info), S_OK);
    TYPEATTR* attributes = nullptr;
    ASSERT_EQ(info->GetTypeAttr(&attributes), S_OK);
    EXPECT_EQ(attributes->guid, entry.clsid);
    info->ReleaseTypeAttr(attributes);

    ComPtr<ISupportErrorInfo> errors;
    ASSERT_EQ(object.get()->QueryInterface(IID_PPV_ARGS(&errors)), S_OK);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(entry.interface_id), S_OK);
    EXPECT_EQ(errors->InterfaceSupportsErrorInfo(IID_IClassFactory), S_FALSE);
  }
}

TEST_F(LateBoundClient, IsSparedDetoursByTheInterfaceThatScriptsAskFor) {
  ComPtr<IDispatchEx> object;
  ASSERT_EQ(component().get()->QueryInterface(__uuidof(IDispatchEx),
                                              reinterpret_cast<void**>(object.GetAddressOf())),
            S_OK);
  Var name(u"compid");
  DISPID id = 0;
  ASSERT_EQ(object->GetDispID(name.value().bstrVal, fdexNameCaseInsensitive, &id), S_OK);
  EXPECT_EQ(id, 1);
  DISPPARAMS none{};
  Var result;
  ASSERT_EQ(object->InvokeEx(id, LOCALE_USER_DEFAULT, DISPATCH_PROPERTYGET, &none, result.get(),
                             nullptr, nullptr),
            S_OK);
  EXPECT_EQ(result.number(), 1);

  // Some engines name the object itself as the caller of its method.
  name = u"lockrecord";
  ASSERT_EQ(object->GetDispID(name.value().bstrVal, fdexNameCaseInsensitive, &id), S_OK);
  Var caller(component().get());
  DISPID caller_id = DISPID_THIS;
  DISPPARAMS called{caller.get(), &caller_id, 1, 1};
  ASSERT_EQ(object->InvokeEx(id, LOCALE_USER_DEFAULT, DISPATCH_METHOD, &called, result.get(),
                             nullptr, nullptr),
            S_OK);
  EXPECT_TRUE(result.boolean());

  Var unknown(u"nothing");
  EXPECT_EQ(object->GetDispID(unknown.value().bstrVal, fdexNameCaseInsensitive, &id),
            DISP_E_UNKNOWNNAME);
}

TEST_F(LateBoundClient, AsksForTheEnumeratorAsAMethodToo) {
  DISPPARAMS none{};
  Var result;
  EXPECT_EQ(components().get()->Invoke(DISPID_NEWENUM, IID_NULL, LOCALE_USER_DEFAULT,
                                       DISPATCH_METHOD, &none, result.get(), nullptr, nullptr),
            S_OK);
  EXPECT_EQ(result.type(), VT_UNKNOWN);
}

TEST_F(LateBoundClient, SharesTheProcessWithAllOtherClients) {
  const LateBound other = LateBound::create(L"Tarnwick.Server");
  EXPECT_FALSE(other.call(L"Initialized").boolean());
  EXPECT_TRUE(server_.call(L"Initialized").boolean());
  EXPECT_EQ(other.call(L"LastErrorMsg").text(), message());
}

TEST_F(LateBoundClient, CarriesTextsOfMegabytesAndAllCharacters) {
  Text text(2'000'000, u'x');
  text += u'\0';
  text += u"\u20AC\U0001F600\xD800";
  report().put(L"Definition", text);
  EXPECT_EQ(report().call(L"Definition").text(), text);
}

}  // namespace
}  // namespace tarnwick::automation::com
