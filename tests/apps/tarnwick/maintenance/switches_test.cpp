#include "apps/tarnwick/maintenance/switches.h"

#include <gtest/gtest.h>

#include <set>

namespace tarnwick::cli {
namespace {

using automation::ClassId;

std::string switch_for(ClassId record_class, std::string_view name) {
  const Attribute* attribute = client::find_attribute(record_class, name);
  EXPECT_NE(attribute, nullptr) << name;
  return attribute == nullptr ? "" : switch_of(*attribute);
}

TEST(Switches, AreThePropertysNameInWords) {
  EXPECT_EQ(switch_for(ClassId::kComponent, "Name"), "--name");
  EXPECT_EQ(switch_for(ClassId::kComponent, "ForceDisplay"), "--force-display");
  EXPECT_EQ(switch_for(ClassId::kRegisteredPC, "SoftwareVersion"), "--software-version");
  EXPECT_EQ(switch_for(ClassId::kReport, "SQL"), "--sql");
}

TEST(Switches, AreCalledOtherwiseForAFew) {
  EXPECT_EQ(switch_for(ClassId::kComponent, "ParentID"), "--parent");
  EXPECT_EQ(switch_for(ClassId::kComponent, "ServerName"), "--server");
  EXPECT_EQ(switch_for(ClassId::kRegisteredPC, "ImageIndex"), "--image");
  EXPECT_EQ(switch_for(ClassId::kRegisteredPC, "DeActivatedBy"), "--deactivated-by");
  EXPECT_EQ(switch_for(ClassId::kRegisteredPC, "DeActivatedDate"), "--deactivated-date");
  EXPECT_EQ(switch_for(ClassId::kReport, "ReportGroupID"), "--group");
  EXPECT_EQ(switch_for(ClassId::kReport, "ReportType"), "--type");
  EXPECT_EQ(switch_for(ClassId::kReport, "Version"), "--report-version");
}

TEST(Switches, AreNotThereForKeysAndForWhatNoWriteStoresOrACommandOfItsOwnDoes) {
  EXPECT_EQ(switch_for(ClassId::kComponent, "CompID"), "");
  EXPECT_EQ(switch_for(ClassId::kComponent, "MetaID"), "");
  EXPECT_EQ(switch_for(ClassId::kRegisteredPC, "MACNumber"), "");
  EXPECT_EQ(switch_for(ClassId::kRegisteredPC, "RowVersion"), "");
  EXPECT_EQ(switch_for(ClassId::kReport, "SoftLock"), "");
  EXPECT_EQ(switch_for(ClassId::kReport, "TTX"), "");
}

TEST(Switches, OfOneRecordClassAreAllDifferent) {
  for (const ClassId id : {ClassId::kComponent, ClassId::kRegisteredPC, ClassId::kReport}) {
    std::set<std::string> seen;
    for (const Attribute& attribute : client::attributes_of(id)) {
      const std::string name = switch_of(attribute);
      EXPECT_TRUE(name.empty() || seen.insert(name).second) << name;
    }
  }
}

}  // namespace
}  // namespace tarnwick::cli
