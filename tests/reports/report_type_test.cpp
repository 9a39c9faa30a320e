#include "reports/report_type.h"

#include <gtest/gtest.h>

namespace tarnwick {
namespace {

TEST(ReportType, IsReadFromItsCodeInAnyLetterCase) {
  EXPECT_EQ(report_type_from_code(u"CRY"), CrystalReport_rt);
  EXPECT_EQ(report_type_from_code(u"cry"), CrystalReport_rt);
  EXPECT_EQ(report_type_from_code(u"Cry"), CrystalReport_rt);
}

TEST(ReportType, IsNoneForEveryOtherText) {
  for (const TextView code : {u"", u"CR", u"CRYS", u" CRY", u"CRY ", u"PC", u"1"}) {
    EXPECT_EQ(report_type_from_code(code), None_rt) << to_display_utf8(code);
  }
  EXPECT_EQ(report_type_from_code(TextView(u"CRY\0", 4)), None_rt);
}

TEST(ReportType, IsWrittenAsItsCode) {
  EXPECT_EQ(report_type_to_code(CrystalReport_rt), u"CRY");
  EXPECT_EQ(report_type_to_code(None_rt), u"");
}

TEST(ReportType, IsWrittenAsNothingWhenItIsOutOfRange) {
  EXPECT_EQ(report_type_to_code(ReportTypesEnum{2}), u"");
  EXPECT_EQ(report_type_to_code(ReportTypesEnum{-1}), u"");
}

TEST(ReportType, HasTheNumbersThatClientsUse) {
  EXPECT_EQ(std::int32_t{None_rt}, 0);
  EXPECT_EQ(std::int32_t{CrystalReport_rt}, 1);
}

}  // namespace
}  // namespace tarnwick
