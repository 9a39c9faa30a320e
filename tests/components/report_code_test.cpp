#include "components/report_code.h"

#include <gtest/gtest.h>

namespace tarnwick {
namespace {

TEST(ReportCode, ComesFromItsTextInAnyLetterCase) {
  EXPECT_EQ(report_code_from_text(u"CRY"), CrystalRpts_rc);
  EXPECT_EQ(report_code_from_text(u"cry"), CrystalRpts_rc);
  EXPECT_EQ(report_code_from_text(u"PC"), PCs_rc);
  EXPECT_EQ(report_code_from_text(u"pC"), PCs_rc);
  EXPECT_EQ(report_code_from_text(u"PCA"), PCAll_rc);
  EXPECT_EQ(report_code_from_text(u"pca"), PCAll_rc);
}

TEST(ReportCode, IsNoneForEveryOtherText) {
  EXPECT_EQ(report_code_from_text(u""), None_rc);
  EXPECT_EQ(report_code_from_text(u"PCX"), None_rc);
  EXPECT_EQ(report_code_from_text(u" PC"), None_rc);
  EXPECT_EQ(report_code_from_text(u"PC "), None_rc);
  EXPECT_EQ(report_code_from_text(u"1"), None_rc);
}

TEST(ReportCode, HasItsText) {
  EXPECT_EQ(report_code_to_text(PCs_rc), u"PC");
  EXPECT_EQ(report_code_to_text(PCAll_rc), u"PCA");
  EXPECT_EQ(report_code_to_text(CrystalRpts_rc), u"CRY");
}

TEST(ReportCode, HasNoTextForNoneAndForUnknownValues) {
  EXPECT_EQ(report_code_to_text(None_rc), u"");
  EXPECT_EQ(report_code_to_text(static_cast<ReportCodeEnum>(4)), u"");
  EXPECT_EQ(report_code_to_text(static_cast<ReportCodeEnum>(-1)), u"");
}

}  // namespace
}  // namespace tarnwick
