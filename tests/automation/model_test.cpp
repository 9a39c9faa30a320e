#include "automation/model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "runtime/error.h"
#include "state/enums.h"
#include "tests/support/object_model.h"
#include "tests/support/thrown_error.h"

namespace tarnwick::automation {
namespace {

using test_support::error_number_of;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> member_names(ClassId of) {
  std::vector<std::string> names;
  for (const Member& member : class_of(of).members) names.emplace_back(member.name);
  return names;
}

std::vector<std::string> argument_names(ClassId of, std::string_view member) {
  std::vector<std::string> names;
  for (const Argument& argument : find_member(class_of(of), member)->arguments) {
    names.emplace_back(argument.name);
  }
  return names;
}

TEST(Model, HasTheMembersInTheOrderThatClientsWereBuiltAgainst) {
  EXPECT_THAT(member_names(ClassId::kServer),
              ElementsAre("Initialized", "LastErrorMsg", "LastErrorNumber", "Reports",
                          "RegisteredPCs", "Components", "SetConnection", "Refresh"));
  EXPECT_THAT(
      member_names(ClassId::kComponents),
      ElementsAre("Refresh", "Add", "AddCompObject", "Exists", "FindMetaID", "Item", "Count",
                  "NewEnum", "Changed", "Initialized", "LastErrorMsg", "LastErrorNumber"));
  EXPECT_THAT(member_names(ClassId::kComponent),
              ElementsAre("CompID", "Name", "ParentID", "Priority", "ImageIndex", "ForceDisplay",
                          "MaintenanceType", "SecurityGroup", "ReportCode", "ServerName", "MetaID",
                          "AuthorizedRole", "RowVersion", "SoftLock", "Key", "Changed",
                          "Initialized", "Reports", "LastErrorMsg", "LastErrorNumber", "PCs",
                          "Refresh", "LockRecord", "Locked", "ReleaseRecord", "Update", "Delete"));
  EXPECT_THAT(member_names(ClassId::kRegisteredPCs),
              ElementsAre("Refresh", "Add", "AddPCObject", "Exists", "Item", "Count", "NewEnum",
                          "Changed", "Initialized", "LastErrorMsg", "LastErrorNumber"));
  EXPECT_THAT(
      member_names(ClassId::kRegisteredPC),
      ElementsAre("MACNumber", "ComputerID", "CompID", "MaintenanceType", "Active", "ImageIndex",
                  "LastUser", "LastLogin", "TotalLogins", "ActivatedBy", "ActivateDate",
                  "DeActivatedBy", "DeActivatedDate", "SoftLock", "RowVersion", "SoftwareVersion",
                  "Key", "Changed", "Initialized", "Locked", "LockRecord", "ReleaseRecord",
                  "Refresh", "Update", "Delete", "LastErrorMsg", "LastErrorNumber"));
  EXPECT_THAT(member_names(ClassId::kReports),
              ElementsAre("Exists", "Initialized", "Changed", "ValidObject", "LastErrorMsg",
                          "LastErrorNumber", "AddReportObject", "Refresh", "Add", "Item", "Count",
                          "NewEnum"));
  EXPECT_THAT(
      member_names(ClassId::kReport),
      ElementsAre("LastErrorMsg", "LastErrorNumber", "Delete", "Refresh", "LockRecord",
                  "ReleaseRecord", "Locked", "Initialized", "Key", "Changed", "Update", "ImportTTX",
                  "ExtractTTX", "ExtractReport", "SoftLock", "MaintenanceType", "Description",
                  "ReportType", "ReportTypeAsString", "GetReportTypeFromString", "Definition",
                  "TTX", "SQL", "ImageIndex", "ReportGroupID", "Version", "Created", "Author",
                  "Title", "Name", "RowVersion"));
}

TEST(Model, NamesTheArguments) {
  EXPECT_THAT(argument_names(ClassId::kServer, "SetConnection"),
              ElementsAre("sConnectString", "sAppRole", "sAppPassword"));
  EXPECT_THAT(argument_names(ClassId::kComponents, "Add"),
              ElementsAre("iCompID", "sComponentName", "iParentID", "iPriority", "iImageIndex",
                          "bForceDisplay", "iMaintenanceType", "eReportCode", "sServerName",
                          "sSecGrpID", "sMetaID", "sAuthRole"));
  EXPECT_THAT(argument_names(ClassId::kRegisteredPCs, "Add"),
              ElementsAre("sMACNumber", "iCompID", "sComputerID", "sActivatedBy", "datActivateDate",
                          "bActive", "eMaintenanceType", "iImageIndex", "sLastUser", "datLastLogin",
                          "lTotalLogins", "sDeActivatedBy", "datDeActivatedDate", "sSoftLock",
                          "sSoftwareVersion"));
  EXPECT_THAT(argument_names(ClassId::kReports, "Add"),
              ElementsAre("sReportName", "sTitle", "sAuthor", "datCreated", "sVersion",
                          "sReportGroupID", "iImageIndex", "sSQL", "sTTX", "eReportType",
                          "sDescription", "iMaintenanceType", "sRowVersion", "sDefinition"));
  EXPECT_THAT(argument_names(ClassId::kReport, "Update"), ElementsAre("sFullReportName"));
}

TEST(Model, TakesTheTypesOfTheFunctions) {
  const Member& add = *find_member(class_of(ClassId::kRegisteredPCs), "Add");
  EXPECT_EQ(add.result, (Type{Kind::kObject, {}, ClassId::kRegisteredPC}));
  EXPECT_EQ(add.arguments[0].type.kind, Kind::kText);
  EXPECT_EQ(add.arguments[1].type.kind, Kind::kInt16);
  EXPECT_EQ(add.arguments[4].type.kind, Kind::kDate);
  EXPECT_EQ(add.arguments[5].type.kind, Kind::kBoolean);
  EXPECT_EQ(add.arguments[6].type, (Type{Kind::kEnumeration, EnumerationId::kMaintType, {}}));
  EXPECT_EQ(add.arguments[10].type.kind, Kind::kInt32);
  const Class& component = class_of(ClassId::kComponent);
  EXPECT_EQ(find_member(component, "PCs")->result,
            (Type{Kind::kCollection, {}, ClassId::kRegisteredPC}));
  EXPECT_EQ(find_member(component, "Reports")->result.kind, Kind::kEmpty);
  EXPECT_EQ(find_member(component, "Update")->result,
            (Type{Kind::kEnumeration, EnumerationId::kUpdateError, {}}));
  const Class& components = class_of(ClassId::kComponents);
  EXPECT_EQ(find_member(components, "NewEnum")->result,
            (Type{Kind::kEnumerator, {}, ClassId::kComponent}));
  EXPECT_EQ(find_member(components, "Item")->arguments[0].type.kind, Kind::kKeyOrPosition);
}

TEST(Model, LetsClientsSetWhatHasAPublicSetter) {
  const auto writable = [](ClassId of) {
    std::vector<std::string> names;
    for (const Member& member : class_of(of).members) {
      EXPECT_EQ(member.let != nullptr, member.access == Member::Access::kGetLet) << member.name;
      if (member.let != nullptr) names.emplace_back(member.name);
    }
    return names;
  };
  for (const ClassId of : {ClassId::kServer, ClassId::kComponents, ClassId::kComponent,
                           ClassId::kRegisteredPCs, ClassId::kReports}) {
    EXPECT_THAT(writable(of), IsEmpty());
  }
  EXPECT_THAT(writable(ClassId::kRegisteredPC),
              ElementsAre("MACNumber", "ComputerID", "CompID", "MaintenanceType", "Active",
                          "ImageIndex", "LastUser", "LastLogin", "TotalLogins", "ActivatedBy",
                          "ActivateDate", "DeActivatedBy", "DeActivatedDate", "SoftwareVersion"));
  EXPECT_THAT(
      writable(ClassId::kReport),
      ElementsAre("MaintenanceType", "Description", "ReportType", "Definition", "TTX", "SQL",
                  "ImageIndex", "ReportGroupID", "Version", "Created", "Author", "Title", "Name"));
}

TEST(Model, HasItemAsTheDefaultMemberOfCollectionsOnly) {
  for (std::size_t i = 0; i < kClassCount; ++i) {
    for (const Member& member : class_of(static_cast<ClassId>(i)).members) {
      EXPECT_EQ(member.is_default, member.name == "Item");
    }
  }
}

TEST(Model, HasTheDefaultsOfOptionalArguments) {
  const auto defaults = [](ClassId of, std::string_view name) {
    std::vector<Value> values;
    for (const Argument& argument : find_member(class_of(of), name)->arguments) {
      if (argument.default_value) values.push_back(*argument.default_value);
    }
    return values;
  };
  EXPECT_EQ(defaults(ClassId::kComponents, "Add"), (std::vector<Value>{Text(), Text()}));
  EXPECT_EQ(defaults(ClassId::kRegisteredPCs, "Add"),
            (std::vector<Value>{true, std::int32_t{5}, std::int16_t{-1}, Text(), Date(),
                                std::int32_t{0}, Text(), Date(), Text(), Text()}));
  EXPECT_EQ(defaults(ClassId::kReport, "Update"), (std::vector<Value>{Text()}));
  EXPECT_THAT(defaults(ClassId::kReports, "Add"), IsEmpty());
}

TEST(Model, FindsClassesByNameAndProgIdInAnyLetterCase) {
  EXPECT_EQ(find_class(u"Server")->id, ClassId::kServer);
  EXPECT_EQ(find_class(u"tarnwick.REGISTEREDpcs")->id, ClassId::kRegisteredPCs);
  EXPECT_EQ(find_class(u"Report")->id, ClassId::kReport);
  for (const TextView name : {u"", u"Tarnwick.", u"Tarnwick", u"Servers", u"Tarnwick.Server.1",
                              u"Tarnwick.Tarnwick.Server"}) {
    EXPECT_EQ(find_class(name), nullptr);
  }
}

TEST(Model, NamesTheMembersOfItsEnumerations) {
  const auto listed = [](EnumerationId id) {
    std::string text(enumeration_of(id).name);
    for (const Enumerand& each : enumeration_of(id).members) {
      text.append(" ").append(each.name).append("=").append(std::to_string(each.value));
    }
    return text;
  };
  EXPECT_EQ(listed(EnumerationId::kUpdateError),
            "UpdateErrorEnum OK_ue=0 Error_ue=1 MissRequiredField_ue=2 MissReportFile_ue=3 "
            "Locked_ue=4 RecordChanged_ue=5");
  EXPECT_EQ(listed(EnumerationId::kMaintType),
            "MaintTypeEnum NotDefined_mt=0 ServerReg_mt=1 Component_mt=2 ComponentWithPCs_mt=3 "
            "Report_mt=4 PCReg_mt=5");
  EXPECT_EQ(listed(EnumerationId::kReportCode),
            "ReportCodeEnum None_rc=0 PCs_rc=1 PCAll_rc=2 CrystalRpts_rc=3");
  EXPECT_EQ(listed(EnumerationId::kReportTypes), "ReportTypesEnum None_rt=0 CrystalReport_rt=1");
}

class Calls : public testing::Test {
 protected:
  Object create(ClassId of) { return class_of(of).create(process.state); }
  Value call(const Object& object, std::string_view member, const std::vector<Value>& arguments) {
    return automation::call(object, *find_member(class_of(object.class_id), member), arguments);
  }
  Value get(const Object& object, std::string_view member) { return call(object, member, {}); }
  void let(const Object& object, std::string_view member, const Value& value) {
    automation::let(object, *find_member(class_of(object.class_id), member), value);
  }

  test_support::EmbeddedDatabase database;
  test_support::ServerProcess process{database};
};

TEST_F(Calls, CreateObjectsOfAllClasses) {
  for (std::size_t i = 0; i < kClassCount; ++i) {
    const Object object = create(static_cast<ClassId>(i));
    EXPECT_EQ(object.class_id, static_cast<ClassId>(i));
    EXPECT_TRUE(object);
  }
}

TEST_F(Calls, ReadAndSetProperties) {
  const Object pc = create(ClassId::kRegisteredPC);
  let(pc, "MACNumber", Text(u"00-01"));
  let(pc, "MaintenanceType", std::int32_t{ServerReg_mt});
  let(pc, "LastLogin", Date{2.5});
  EXPECT_EQ(get(pc, "MACNumber"), Value(Text(u"00-01")));
  EXPECT_EQ(get(pc, "MaintenanceType"), Value(std::int32_t{1}));
  EXPECT_EQ(get(pc, "LastLogin"), Value(Date{2.5}));
  EXPECT_EQ(get(pc, "Changed"), Value(true));
  EXPECT_EQ(error_number_of([&] { let(pc, "Key", Text()); }), 5);
  EXPECT_EQ(get(create(ClassId::kComponent), "Reports"), Value(Empty{}));
}

TEST_F(Calls, TakeDefaultsForWhatIsLeftOut) {
  const Object pcs = create(ClassId::kRegisteredPCs);
  const std::vector<Value> required{Text(u"M"), std::int16_t{4}, Text(u"C"), Text(u"me"), Date{1}};
  const Object pc = std::get<Object>(call(pcs, "Add", required));
  EXPECT_EQ(get(pc, "Active"), Value(true));
  EXPECT_EQ(get(pc, "MaintenanceType"), Value(std::int32_t{PCReg_mt}));
  EXPECT_EQ(get(pc, "ImageIndex"), Value(std::int16_t{10}));
}

TEST_F(Calls, RefuseArgumentsOfOtherTypesAndNumbers) {
  const Object reports = create(ClassId::kReports);
  EXPECT_EQ(error_number_of([&] { call(reports, "Exists", {std::int32_t{1}}); }), 13);
  EXPECT_EQ(error_number_of([&] { call(reports, "Exists", {}); }), 449);
  EXPECT_EQ(error_number_of([&] { call(reports, "Exists", {Text(), Text()}); }), 450);
  EXPECT_EQ(
      error_number_of([&] { call(reports, "AddReportObject", {create(ClassId::kComponent)}); }),
      13);
  EXPECT_EQ(error_number_of([&] { call(reports, "Item", {reports}); }), 13);
}

TEST_F(Calls, HandOutObjectsListsAndWalks) {
  const Object components = create(ClassId::kComponents);
  const auto add = [&](std::int16_t id) {
    return std::get<Object>(
        call(components, "Add",
             {id, Text(u"Name"), std::int16_t{0}, std::int16_t{0}, std::int16_t{0}, false,
              std::int16_t{0}, std::int32_t{0}, Text(), Text(), Text(u"meta")}));
  };
  const Object first = add(1);
  const Object second = add(2);
  EXPECT_FALSE(add(2));
  EXPECT_EQ(call(components, "Item", {Text(u"C2")}), Value(second));
  EXPECT_EQ(call(components, "Item", {std::int64_t{1}}), Value(first));
  EXPECT_FALSE(std::get<Object>(call(components, "Item", {Text(u"C3")})));

  const auto walk = std::get<std::shared_ptr<Enumerator>>(get(components, "NewEnum"));
  EXPECT_EQ(walk->next(), first);
  const auto clone = walk->clone();
  EXPECT_EQ(walk->next(), second);
  EXPECT_FALSE(walk->next());
  EXPECT_EQ(clone->next(), second);
  walk->reset();
  EXPECT_EQ(walk->next(), first);

  const auto found =
      std::get<std::shared_ptr<Collection>>(call(components, "FindMetaID", {Text(u"META")}));
  EXPECT_EQ(found->count(), 2);
  EXPECT_EQ(found->item(Variant(Text(u"C1"))), first);
  EXPECT_EQ(found->enumerate()->next(), first);
  EXPECT_EQ(error_number_of([&] { static_cast<void>(found->item(Variant(std::int32_t{3}))); }), 9);
}

}  // namespace
}  // namespace tarnwick::automation
