#include "automation/com/errors.h"
#include "automation/com/values.h"
#include "tests/automation/com/connected_client.h"

namespace tarnwick::automation::com {
namespace {

using test_support::ConnectedClient;

/// A text argument.
class Bstr {
 public:
  explicit Bstr(TextView text) : string_(to_bstr(text)) {}
  ~Bstr() { SysFreeString(string_); }
  Bstr(const Bstr&) = delete;
  Bstr& operator=(const Bstr&) = delete;
  operator BSTR() const { return string_; }

 private:
  BSTR string_;
};

Text take(BSTR string) {
  Text text = text_of(string);
  SysFreeString(string);
  return text;
}

class EarlyBoundClient : public ConnectedClient {
 protected:
  EarlyBoundClient() { EXPECT_EQ(server_.get()->QueryInterface(IID_PPV_ARGS(&early_)), S_OK); }

  [[nodiscard]] ComPtr<::_Components> components() const {
    ComPtr<::_Components> result;
    EXPECT_EQ(early_->get_Components(&result), S_OK);
    return result;
  }
  [[nodiscard]] ComPtr<::_Component> add(short id, TextView name) const {
    ComPtr<::_Component> component;
    EXPECT_EQ(components()->Add(id, Bstr(name), 0, 3, 1, VARIANT_TRUE, 2, ::PCs_rc, Bstr(u"srv"),
                                Bstr(u"grp"), Bstr(u"meta"), Bstr(u"role"), &component),
              S_OK);
    return component;
  }

  ComPtr<::_Server> early_;
};

TEST_F(EarlyBoundClient, CallsByTheSlotsOfTheDualInterfaces) {
  VARIANT_BOOL initialized = VARIANT_FALSE;
  EXPECT_EQ(early_->get_Initialized(&initialized), S_OK);
  EXPECT_EQ(initialized, VARIANT_TRUE);

  const ComPtr<::_Component> component = add(7, u"Seven");
  short id = 0;
  BSTR text = nullptr;
  ::ReportCodeEnum code{};
  ::MaintTypeEnum type{};
  VARIANT_BOOL display = VARIANT_FALSE;
  EXPECT_EQ(component->get_CompID(&id), S_OK);
  EXPECT_EQ(id, 7);
  EXPECT_EQ(component->get_Name(&text), S_OK);
  EXPECT_EQ(take(text), u"Seven");
  EXPECT_EQ(component->get_MetaID(&text), S_OK);
  EXPECT_EQ(take(text), u"META");
  EXPECT_EQ(component->get_ReportCode(&code), S_OK);
  EXPECT_EQ(code, ::PCs_rc);
  EXPECT_EQ(component->get_MaintenanceType(&type), S_OK);
  EXPECT_EQ(type, ::Component_mt);
  EXPECT_EQ(component->get_ForceDisplay(&display), S_OK);
  EXPECT_EQ(display, VARIANT_TRUE);
  ::UpdateErrorEnum result{};
  EXPECT_EQ(component->Update(&result), S_OK);
  EXPECT_EQ(result, ::OK_ue) << to_display_utf8(message());
  VARIANT_BOOL deleted = VARIANT_FALSE;
  long count = -1;
  EXPECT_EQ(components()->get_Count(&count), S_OK);
  EXPECT_EQ(count, 1);
  EXPECT_EQ(component->Delete(&deleted), S_OK);
}

TEST_F(EarlyBoundClient, SetsPropertiesOfARegisteredPC) {
  ComPtr<::_RegisteredPCs> pcs;
  ASSERT_EQ(early_->get_RegisteredPCs(&pcs), S_OK);
  ComPtr<::_RegisteredPC> pc;
  ASSERT_EQ(pcs->Add(Bstr(u"MAC"), 3, Bstr(u"PC"), Bstr(u"me"), 45000.5, VARIANT_FALSE, ::PCReg_mt,
                     8, Bstr(u"user"), 45001.0, 12, Bstr(u""), 0.0, Bstr(u""), Bstr(u"1.2"), &pc),
            S_OK);
  DATE date = 0;
  long logins = 0;
  EXPECT_EQ(pc->get_ActivateDate(&date), S_OK);
  EXPECT_EQ(date, 45000.5);
  EXPECT_EQ(pc->put_TotalLogins(70000), S_OK);
  EXPECT_EQ(pc->get_TotalLogins(&logins), S_OK);
  EXPECT_EQ(logins, 70000);
  EXPECT_EQ(pc->put_LastLogin(45002.75), S_OK);
  EXPECT_EQ(pc->get_LastLogin(&date), S_OK);
  EXPECT_EQ(date, 45002.75);
  EXPECT_EQ(pc->put_Active(VARIANT_TRUE), S_OK);
  VARIANT_BOOL active = VARIANT_FALSE;
  EXPECT_EQ(pc->get_Active(&active), S_OK);
  EXPECT_EQ(active, VARIANT_TRUE);
  EXPECT_EQ(pc->put_MaintenanceType(::Report_mt), S_OK);
  ::MaintTypeEnum type{};
  EXPECT_EQ(pc->get_MaintenanceType(&type), S_OK);
  EXPECT_EQ(type, ::Report_mt);
}

TEST_F(EarlyBoundClient, IsGivenTheHresultWhereAMemberFails) {
  ComPtr<::_RegisteredPCs> pcs;
  ASSERT_EQ(early_->get_RegisteredPCs(&pcs), S_OK);
  VARIANT key;
  VariantInit(&key);
  key.vt = VT_I4;
  key.lVal = 1;
  ComPtr<::_RegisteredPC> pc;
  EXPECT_EQ(pcs->get_Item(key, &pc), hresult_of(9));
  EXPECT_EQ(pc.Get(), nullptr);
}

TEST_F(EarlyBoundClient, WalksACollectionSeveralObjectsAtATime) {
  for (short id = 1; id <= 3; ++id) ASSERT_NE(add(id, u"x"), nullptr);
  ComPtr<IUnknown> unknown;
  ComPtr<IEnumVARIANT> walk;
  ASSERT_EQ(components()->get_NewEnum(&unknown), S_OK);
  ASSERT_EQ(unknown.As(&walk), S_OK);
  VARIANT values[5];
  ULONG fetched = 0;
  EXPECT_EQ(walk->Next(2, values, &fetched), S_OK);
  ASSERT_EQ(fetched, 2u);
  for (ULONG i = 0; i < 2; ++i) VariantClear(&values[i]);
  ComPtr<IEnumVARIANT> copy;
  ASSERT_EQ(walk->Clone(&copy), S_OK);
  EXPECT_EQ(walk->Next(5, values, &fetched), S_FALSE);
  ASSERT_EQ(fetched, 1u);
  VariantClear(&values[0]);
  EXPECT_EQ(walk->Next(1, values, &fetched), S_FALSE);
  EXPECT_EQ(copy->Skip(1), S_OK);
  EXPECT_EQ(copy->Skip(1), S_FALSE);
  EXPECT_EQ(walk->Reset(), S_OK);
  EXPECT_EQ(walk->Skip(3), S_OK);
}

TEST_F(EarlyBoundClient, MakesObjectsByTheClassObject) {
  ComPtr<IClassFactory> factory;
  ASSERT_EQ(
      CoGetClassObject(__uuidof(::Report), CLSCTX_LOCAL_SERVER, nullptr, IID_PPV_ARGS(&factory)),
      S_OK);
  ComPtr<::_Report> report;
  ASSERT_EQ(factory->CreateInstance(nullptr, IID_PPV_ARGS(&report)), S_OK);
  short image = 0;
  EXPECT_EQ(report->get_ImageIndex(&image), S_OK);
  EXPECT_EQ(image, 11);
}

}  // namespace
}  // namespace tarnwick::automation::com
