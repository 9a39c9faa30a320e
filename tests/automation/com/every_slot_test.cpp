// Every slot of every dual interface, called by a compiled client in another process than the
// server's.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "automation/com/values.h"
#include "automation/model.h"
#include "tests/automation/com/connected_client.h"
#include "tests/support/temporary_folder.h"

namespace tarnwick::automation::com {
namespace {

using test_support::ConnectedClient;
using test_support::TemporaryFolder;

/// The slots that were called, by class and name as the generated header has them.
std::set<std::string>& called() {
  static std::set<std::string> slots;
  return slots;
}

template <class Function>
struct Slot {
  Function function;
};

template <class Function>
Slot<Function> slot(const char* name, Function function) {
  called().insert(name);
  return {function};
}

#define SLOT(class_name, member) slot(#class_name "." #member, &::_##class_name::member)

/// The argument of a slot as COM takes it, from what a test writes.
class Argument {
 public:
  Argument(const char16_t* text) : string_(to_bstr(text)) {}
  explicit Argument(const Text& text) : string_(to_bstr(text)) {}
  ~Argument() { SysFreeString(string_); }
  Argument(const Argument&) = delete;
  Argument& operator=(const Argument&) = delete;
  operator BSTR() const { return string_; }

 private:
  BSTR string_;
};

/// A result as tests compare it; takes what has to be freed.
Text result(BSTR string) {
  Text text = text_of(string);
  SysFreeString(string);
  return text;
}
template <std::derived_from<IUnknown> Interface>
ComPtr<Interface> result(Interface* reference) {
  return adopt(reference);
}
template <class Plain>
Plain result(Plain value) {
  return value;
}

template <class Interface, class... Parameters>
HRESULT invoke(const ComPtr<Interface>& object,
               Slot<HRESULT (STDMETHODCALLTYPE Interface::*)(Parameters...)> slot,
               std::type_identity_t<Parameters>... arguments) {
  return (object.Get()->*slot.function)(arguments...);
}

template <class Interface, class Out>
auto get(const ComPtr<Interface>& object,
         Slot<HRESULT (STDMETHODCALLTYPE Interface::*)(Out*)> slot) {
  Out out{};
  EXPECT_EQ(invoke(object, slot, &out), S_OK);
  return result(out);
}

template <class Interface, class In, class Out>
auto get(const ComPtr<Interface>& object,
         Slot<HRESULT (STDMETHODCALLTYPE Interface::*)(In, Out*)> slot,
         std::type_identity_t<In> in) {
  Out out{};
  EXPECT_EQ(invoke(object, slot, in, &out), S_OK);
  return result(out);
}

template <class Interface, class In>
void put(const ComPtr<Interface>& object, Slot<HRESULT (STDMETHODCALLTYPE Interface::*)(In)> slot,
         std::type_identity_t<In> in) {
  EXPECT_EQ(invoke(object, slot, in), S_OK);
}

VARIANT position(long value) {
  VARIANT variant;
  VariantInit(&variant);
  variant.vt = VT_I4;
  variant.lVal = value;
  return variant;
}

/// How many objects a for-each loop sees.
int walked(const ComPtr<IUnknown>& enumerator) {
  ComPtr<IEnumVARIANT> walk;
  EXPECT_EQ(enumerator.As(&walk), S_OK);
  int count = 0;
  VARIANT each;
  VariantInit(&each);
  while (walk->Next(1, &each, nullptr) == S_OK) {
    EXPECT_EQ(each.vt, VT_DISPATCH);
    VariantClear(&each);
    ++count;
  }
  return count;
}

std::string content(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

class EverySlot : public ConnectedClient {
 protected:
  EverySlot() { EXPECT_EQ(server_.get()->QueryInterface(IID_PPV_ARGS(&root_)), S_OK); }

  void use_server();
  void use_components();
  void use_component();
  void use_register();
  void use_pc();
  void change_pc();
  void use_catalog();
  void use_report();
  void change_report();

  TemporaryFolder files_;
  ComPtr<::_Server> root_;
  ComPtr<::_Components> components_;
  ComPtr<::_Component> component_;
  ComPtr<::_RegisteredPCs> pcs_;
  ComPtr<::_RegisteredPC> pc_;
  ComPtr<::_Reports> reports_;
  ComPtr<::_Report> report_;
};

void EverySlot::use_server() {
  VARIANT_BOOL done = VARIANT_FALSE;
  EXPECT_EQ(invoke(root_, SLOT(Server, SetConnection), Argument(connect_string()),
                   Argument(u"Maintainer"), Argument(u"sesame"), &done),
            S_OK);
  EXPECT_EQ(done, VARIANT_TRUE);
  EXPECT_EQ(get(root_, SLOT(Server, Refresh)), VARIANT_TRUE);
  EXPECT_EQ(get(root_, SLOT(Server, get_Initialized)), VARIANT_TRUE);
  EXPECT_EQ(get(root_, SLOT(Server, get_LastErrorMsg)), message());
  EXPECT_EQ(get(root_, SLOT(Server, get_LastErrorNumber)),
            server_.call(L"LastErrorNumber").number());
  components_ = get(root_, SLOT(Server, get_Components));
  pcs_ = get(root_, SLOT(Server, get_RegisteredPCs));
  reports_ = get(root_, SLOT(Server, get_Reports));
}

void EverySlot::use_components() {
  EXPECT_EQ(invoke(components_, SLOT(Components, Add), 7, Argument(u"Seven"), 3, 4, 5, VARIANT_TRUE,
                   3, ::PCs_rc, Argument(u"srv"), Argument(u"grp"), Argument(u"meta"),
                   Argument(u"role"), &component_),
            S_OK);
  EXPECT_EQ(get(get(components_, SLOT(Components, FindMetaID), Argument(u"Meta")),
                Slot{&::_Collection::get_Count}),
            1);
  EXPECT_EQ(get(component_, SLOT(Component, get_MetaID)), u"META");
  EXPECT_EQ(get(component_, SLOT(Component, get_AuthorizedRole)), u"role");
  EXPECT_EQ(get(component_, SLOT(Component, Update)), ::OK_ue);
  EXPECT_EQ(get(components_, SLOT(Components, Refresh)), VARIANT_TRUE);
  EXPECT_EQ(get(components_, SLOT(Components, get_Count)), 1);
  EXPECT_EQ(get(components_, SLOT(Components, Exists), Argument(u"C7")), VARIANT_TRUE);
  EXPECT_EQ(get(components_, SLOT(Components, get_Changed)), VARIANT_TRUE);
  EXPECT_EQ(get(components_, SLOT(Components, get_Initialized)), VARIANT_TRUE);
  EXPECT_EQ(walked(get(components_, SLOT(Components, get_NewEnum))), 1);
  component_ = get(components_, SLOT(Components, get_Item), position(1));
  EXPECT_EQ(get(components_, SLOT(Components, AddCompObject), component_.Get()), VARIANT_FALSE);
  EXPECT_EQ(get(components_, SLOT(Components, get_LastErrorMsg)), message());
  EXPECT_NE(get(components_, SLOT(Components, get_LastErrorNumber)), 0);
}

void EverySlot::use_component() {
  EXPECT_EQ(get(component_, SLOT(Component, get_CompID)), 7);
  EXPECT_EQ(get(component_, SLOT(Component, get_Name)), u"Seven");
  EXPECT_EQ(get(component_, SLOT(Component, get_ParentID)), 3);
  EXPECT_EQ(get(component_, SLOT(Component, get_Priority)), 4);
  EXPECT_EQ(get(component_, SLOT(Component, get_ImageIndex)), 5);
  EXPECT_EQ(get(component_, SLOT(Component, get_ForceDisplay)), VARIANT_TRUE);
  EXPECT_EQ(get(component_, SLOT(Component, get_MaintenanceType)), ::ComponentWithPCs_mt);
  EXPECT_EQ(get(component_, SLOT(Component, get_SecurityGroup)), u"grp");
  EXPECT_EQ(get(component_, SLOT(Component, get_ReportCode)), ::PCs_rc);
  EXPECT_EQ(get(component_, SLOT(Component, get_ServerName)), u"srv");
  EXPECT_EQ(get(component_, SLOT(Component, get_RowVersion)).size(), 16u);
  EXPECT_EQ(get(component_, SLOT(Component, get_SoftLock)), u"");
  EXPECT_EQ(get(component_, SLOT(Component, get_Key)), u"C7");
  EXPECT_EQ(get(component_, SLOT(Component, get_Changed)), VARIANT_TRUE);
  EXPECT_EQ(get(component_, SLOT(Component, get_Initialized)), VARIANT_TRUE);
  EXPECT_EQ(get(component_, SLOT(Component, get_Reports)).vt, VT_EMPTY);
  EXPECT_EQ(
      walked(get(get(component_, SLOT(Component, get_PCs)), Slot{&::_Collection::get_NewEnum})), 0);
  EXPECT_EQ(get(component_, SLOT(Component, Refresh)), VARIANT_FALSE);
  EXPECT_EQ(get(component_, SLOT(Component, get_LastErrorMsg)), message());
  EXPECT_NE(get(component_, SLOT(Component, get_LastErrorNumber)), 0);
  EXPECT_EQ(get(component_, SLOT(Component, LockRecord)), VARIANT_TRUE);
  EXPECT_EQ(get(component_, SLOT(Component, get_Locked)), VARIANT_TRUE);
  EXPECT_EQ(get(component_, SLOT(Component, ReleaseRecord)), VARIANT_TRUE);
}

void EverySlot::use_register() {
  EXPECT_EQ(
      invoke(pcs_, SLOT(RegisteredPCs, Add), Argument(u"MAC"), 7, Argument(u"PC"), Argument(u"me"),
             45000.5, VARIANT_TRUE, ::PCReg_mt, 8, Argument(u"user"), 45001.0, 12, Argument(u"you"),
             45002.0, Argument(u"lock"), Argument(u"1.2"), &pc_),
      S_OK);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_SoftLock)), u"lock");
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, Update)), ::OK_ue);
  EXPECT_EQ(get(pcs_, SLOT(RegisteredPCs, Refresh)), VARIANT_TRUE);
  EXPECT_EQ(get(pcs_, SLOT(RegisteredPCs, get_Count)), 1);
  EXPECT_EQ(get(pcs_, SLOT(RegisteredPCs, Exists), Argument(u"mac\u00FEpc\u00FE7")), VARIANT_TRUE);
  EXPECT_EQ(get(pcs_, SLOT(RegisteredPCs, get_Changed)), VARIANT_FALSE);
  EXPECT_EQ(get(pcs_, SLOT(RegisteredPCs, get_Initialized)), VARIANT_TRUE);
  EXPECT_EQ(walked(get(pcs_, SLOT(RegisteredPCs, get_NewEnum))), 1);
  pc_ = get(pcs_, SLOT(RegisteredPCs, get_Item), position(1));
  EXPECT_EQ(get(pcs_, SLOT(RegisteredPCs, AddPCObject), pc_.Get()), VARIANT_FALSE);
  EXPECT_EQ(get(pcs_, SLOT(RegisteredPCs, get_LastErrorMsg)), message());
  EXPECT_NE(get(pcs_, SLOT(RegisteredPCs, get_LastErrorNumber)), 0);
}

void EverySlot::use_pc() {
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_MACNumber)), u"MAC");
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_ComputerID)), u"PC");
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_CompID)), 7);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_MaintenanceType)), ::PCReg_mt);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_Active)), VARIANT_TRUE);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_ImageIndex)), 8);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_LastUser)), u"user");
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_LastLogin)), 45001.0);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_TotalLogins)), 12);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_ActivatedBy)), u"me");
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_ActivateDate)), 45000.5);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_DeActivatedBy)), u"you");
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_DeActivatedDate)), 45002.0);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_SoftwareVersion)), u"1.2");
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_RowVersion)).size(), 16u);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_Key)), u"MAC\u00FEPC\u00FE7");
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_Changed)), VARIANT_FALSE);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_Initialized)), VARIANT_TRUE);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, LockRecord)), VARIANT_TRUE);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_Locked)), VARIANT_TRUE);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, ReleaseRecord)), VARIANT_TRUE);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, Refresh)), VARIANT_TRUE);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_LastErrorMsg)), message());
  EXPECT_NE(get(pc_, SLOT(RegisteredPC, get_LastErrorNumber)), 0);
}

void EverySlot::change_pc() {
  put(pc_, SLOT(RegisteredPC, put_MACNumber), Argument(u"M2"));
  put(pc_, SLOT(RegisteredPC, put_ComputerID), Argument(u"P2"));
  put(pc_, SLOT(RegisteredPC, put_CompID), 8);
  put(pc_, SLOT(RegisteredPC, put_MaintenanceType), ::Report_mt);
  put(pc_, SLOT(RegisteredPC, put_Active), VARIANT_FALSE);
  put(pc_, SLOT(RegisteredPC, put_ImageIndex), 9);
  put(pc_, SLOT(RegisteredPC, put_LastUser), Argument(u"other"));
  put(pc_, SLOT(RegisteredPC, put_LastLogin), 45003.75);
  put(pc_, SLOT(RegisteredPC, put_TotalLogins), 70000);
  put(pc_, SLOT(RegisteredPC, put_ActivatedBy), Argument(u"he"));
  put(pc_, SLOT(RegisteredPC, put_ActivateDate), 45004.0);
  put(pc_, SLOT(RegisteredPC, put_DeActivatedBy), Argument(u"she"));
  put(pc_, SLOT(RegisteredPC, put_DeActivatedDate), 45005.0);
  put(pc_, SLOT(RegisteredPC, put_SoftwareVersion), Argument(u"2.0"));
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_Changed)), VARIANT_TRUE);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, Update)), ::OK_ue);
  EXPECT_EQ(get(pcs_, SLOT(RegisteredPCs, Refresh)), VARIANT_TRUE);
  pc_ = get(pcs_, SLOT(RegisteredPCs, get_Item), position(1));
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_Key)), u"M2\u00FEP2\u00FE8");
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_MaintenanceType)), ::Report_mt);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_Active)), VARIANT_FALSE);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_ImageIndex)), 9);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_LastUser)), u"other");
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_LastLogin)), 45003.75);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_TotalLogins)), 70000);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_ActivatedBy)), u"he");
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_ActivateDate)), 45004.0);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_DeActivatedBy)), u"she");
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_DeActivatedDate)), 45005.0);
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, get_SoftwareVersion)), u"2.0");
  EXPECT_EQ(get(pc_, SLOT(RegisteredPC, Delete)), VARIANT_TRUE);
  EXPECT_EQ(get(component_, SLOT(Component, Delete)), VARIANT_FALSE);
}

void EverySlot::use_catalog() {
  EXPECT_EQ(invoke(reports_, SLOT(Reports, Add), Argument(u"Orders"), Argument(u"Title"),
                   Argument(u"Author"), 45000.25, Argument(u"1.0"), Argument(u"G"), 11,
                   Argument(u"Select"), Argument(u""), ::CrystalReport_rt, Argument(u"Text"), 4,
                   Argument(u""), Argument(u"Def"), &report_),
            S_OK);
  const Argument fields(from_utf8(files_.write("fields.ttx", "the fields").string()));
  EXPECT_EQ(get(report_, SLOT(Report, ImportTTX), fields), VARIANT_TRUE);
  const Argument file(from_utf8(files_.write("orders.rpt", "the report").string()));
  EXPECT_EQ(get(report_, SLOT(Report, Update), file), ::OK_ue);
  const std::filesystem::path intermediate =
      std::filesystem::path(TARNWICK_EXE).parent_path() / "TTX.bin";
  std::filesystem::remove(intermediate);
  EXPECT_EQ(get(reports_, SLOT(Reports, Refresh)), VARIANT_TRUE);
  EXPECT_EQ(content(intermediate), "the fields");
  EXPECT_EQ(get(reports_, SLOT(Reports, get_Count)), 1);
  EXPECT_EQ(get(reports_, SLOT(Reports, Exists), Argument(u"orders")), VARIANT_TRUE);
  EXPECT_EQ(get(reports_, SLOT(Reports, get_Changed)), VARIANT_FALSE);
  EXPECT_EQ(get(reports_, SLOT(Reports, get_Initialized)), VARIANT_TRUE);
  EXPECT_EQ(get(reports_, SLOT(Reports, get_ValidObject)), VARIANT_TRUE);
  EXPECT_EQ(walked(get(reports_, SLOT(Reports, get_NewEnum))), 1);
  report_ = get(reports_, SLOT(Reports, get_Item), position(1));
  EXPECT_EQ(get(reports_, SLOT(Reports, AddReportObject), report_.Get()), VARIANT_FALSE);
  EXPECT_EQ(get(reports_, SLOT(Reports, get_LastErrorMsg)), message());
  EXPECT_NE(get(reports_, SLOT(Reports, get_LastErrorNumber)), 0);
}

void EverySlot::use_report() {
  EXPECT_EQ(get(report_, SLOT(Report, get_Name)), u"Orders");
  EXPECT_EQ(get(report_, SLOT(Report, get_Key)), u"Orders");
  EXPECT_EQ(get(report_, SLOT(Report, get_Title)), u"Title");
  EXPECT_EQ(get(report_, SLOT(Report, get_Author)), u"Author");
  EXPECT_EQ(get(report_, SLOT(Report, get_Created)), 45000.25);
  EXPECT_EQ(get(report_, SLOT(Report, get_Version)), u"1.0");
  EXPECT_EQ(get(report_, SLOT(Report, get_ReportGroupID)), u"G");
  EXPECT_EQ(get(report_, SLOT(Report, get_ImageIndex)), 11);
  EXPECT_EQ(get(report_, SLOT(Report, get_SQL)), u"Select");
  EXPECT_EQ(get(report_, SLOT(Report, get_TTX)), u"the fields");
  EXPECT_EQ(get(report_, SLOT(Report, get_ReportType)), ::CrystalReport_rt);
  EXPECT_EQ(get(report_, SLOT(Report, get_ReportTypeAsString)), u"CRY");
  EXPECT_EQ(get(report_, SLOT(Report, GetReportTypeFromString), Argument(u"")), ::None_rt);
  EXPECT_EQ(get(report_, SLOT(Report, get_Description)), u"Text");
  EXPECT_EQ(get(report_, SLOT(Report, get_MaintenanceType)), ::Report_mt);
  EXPECT_EQ(get(report_, SLOT(Report, get_Definition)), u"Def");
  EXPECT_EQ(get(report_, SLOT(Report, get_RowVersion)).size(), 16u);
  EXPECT_EQ(get(report_, SLOT(Report, get_SoftLock)), u"");
  EXPECT_EQ(get(report_, SLOT(Report, get_Changed)), VARIANT_FALSE);
  EXPECT_EQ(get(report_, SLOT(Report, get_Initialized)), VARIANT_TRUE);
  const Argument folder(from_utf8((files_.path() / "extracted.rpt").string()));
  EXPECT_EQ(get(report_, SLOT(Report, ExtractTTX), folder), VARIANT_TRUE);
  EXPECT_EQ(content(files_.path() / "extracted.ttx"), "the fields");
  EXPECT_EQ(get(report_, SLOT(Report, ExtractReport), folder), VARIANT_TRUE);
  EXPECT_EQ(content(files_.path() / "extracted.rpt"), "the report");
  EXPECT_EQ(get(report_, SLOT(Report, Refresh)), VARIANT_FALSE);
  EXPECT_EQ(get(report_, SLOT(Report, get_LastErrorMsg)), message());
  EXPECT_NE(get(report_, SLOT(Report, get_LastErrorNumber)), 0);
  EXPECT_EQ(get(report_, SLOT(Report, LockRecord)), VARIANT_TRUE);
  EXPECT_EQ(get(report_, SLOT(Report, get_Locked)), VARIANT_TRUE);
  EXPECT_EQ(get(report_, SLOT(Report, ReleaseRecord)), VARIANT_TRUE);
}

void EverySlot::change_report() {
  put(report_, SLOT(Report, put_Name), Argument(u"Sales"));
  put(report_, SLOT(Report, put_Title), Argument(u"t"));
  put(report_, SLOT(Report, put_Author), Argument(u"a"));
  put(report_, SLOT(Report, put_Created), 45001.5);
  put(report_, SLOT(Report, put_Version), Argument(u"2.0"));
  put(report_, SLOT(Report, put_ReportGroupID), Argument(u"H"));
  put(report_, SLOT(Report, put_ImageIndex), 12);
  put(report_, SLOT(Report, put_SQL), Argument(u"s"));
  put(report_, SLOT(Report, put_TTX), Argument(u"x"));
  put(report_, SLOT(Report, put_ReportType), ::None_rt);
  put(report_, SLOT(Report, put_Description), Argument(u"d"));
  put(report_, SLOT(Report, put_MaintenanceType), ::NotDefined_mt);
  put(report_, SLOT(Report, put_Definition), Argument(u"def"));
  EXPECT_EQ(get(report_, SLOT(Report, get_Changed)), VARIANT_TRUE);
  EXPECT_EQ(get(report_, SLOT(Report, Update), Argument(u"")), ::OK_ue);
  EXPECT_EQ(get(reports_, SLOT(Reports, Refresh)), VARIANT_TRUE);
  EXPECT_EQ(get(reports_, SLOT(Reports, get_Count)), 1);
  report_ = get(reports_, SLOT(Reports, get_Item), position(1));
  EXPECT_EQ(get(report_, SLOT(Report, get_Name)), u"Sales");
  EXPECT_EQ(get(report_, SLOT(Report, get_Title)), u"t");
  EXPECT_EQ(get(report_, SLOT(Report, get_Author)), u"a");
  EXPECT_EQ(get(report_, SLOT(Report, get_Created)), 45001.5);
  EXPECT_EQ(get(report_, SLOT(Report, get_Version)), u"2.0");
  EXPECT_EQ(get(report_, SLOT(Report, get_ReportGroupID)), u"H");
  EXPECT_EQ(get(report_, SLOT(Report, get_ImageIndex)), 12);
  EXPECT_EQ(get(report_, SLOT(Report, get_SQL)), u"s");
  EXPECT_EQ(get(report_, SLOT(Report, get_TTX)), u"x");
  EXPECT_EQ(get(report_, SLOT(Report, get_ReportType)), ::None_rt);
  EXPECT_EQ(get(report_, SLOT(Report, get_Description)), u"d");
  EXPECT_EQ(get(report_, SLOT(Report, get_MaintenanceType)), ::NotDefined_mt);
  EXPECT_EQ(get(report_, SLOT(Report, get_Definition)), u"def");
  EXPECT_EQ(get(report_, SLOT(Report, Delete)), VARIANT_TRUE);
  EXPECT_EQ(get(reports_, SLOT(Reports, get_Count)), 0);
}

TEST_F(EverySlot, OfEveryInterfaceDoesWhatItsNameSays) {
  use_server();
  use_components();
  use_component();
  use_register();
  use_pc();
  change_pc();
  use_catalog();
  use_report();
  change_report();

  std::set<std::string> all;
  for (const ClassId id :
       {ClassId::kServer, ClassId::kComponents, ClassId::kComponent, ClassId::kRegisteredPCs,
        ClassId::kRegisteredPC, ClassId::kReports, ClassId::kReport}) {
    for (const Member& member : class_of(id).members) {
      const std::string prefix = std::string(class_of(id).name) + ".";
      const std::string name(member.name);
      all.insert(prefix + (member.access == Member::Access::kMethod ? "" : "get_") + name);
      if (member.access == Member::Access::kGetLet) all.insert(prefix + "put_" + name);
    }
  }
  EXPECT_EQ(called(), all);
}

}  // namespace
}  // namespace tarnwick::automation::com
