#include "components/refresh_component.h"

#include <gtest/gtest.h>

#include "records/recordset_access.h"
#include "tests/support/component_setters.h"
#include "tests/support/connected_test.h"

namespace tarnwick {
namespace {

using test_support::account;
using test_support::raised;

constexpr std::string_view kFullRow =
    "INSERT INTO DW_SEC_COMP (CompID, CompName, ParentID, Priority, ImageIndex, ForceDisplay,"
    "  MaintType, SecGrpID, RptCode, Server, MetaID, AuthorizedRole, SoftLock)"
    "  VALUES (7, 'Desk', 3, 20, 4, 1, 3, 'Admins', 'PCA', 'SRV-1', 'meta-7', 'Keeper',"
    "  'somebody')";

class RefreshComponent : public test_support::ConnectedTest {
 protected:
  /// Loads `component_` from the first row of the statement.
  bool load(TextView statement = u"Select * From DW_SEC_COMP") {
    const auto rows = get_recordset(state(), statement, ado::LockType::kOptimistic);
    EXPECT_NE(rows, nullptr) << to_display_utf8(message());
    return refresh_component(state(), rows.get(), &component_);
  }

  /// Loads from a row made up of the columns' values, as SQL.
  bool load_values(const std::string& values) {
    database_.loosen("DW_SEC_COMP");
    database_.run(
        "INSERT INTO DW_SEC_COMP (CompID, CompName, ParentID, Priority, ImageIndex, ForceDisplay,"
        "  MaintType, SecGrpID, RptCode, Server, MetaID, AuthorizedRole, RowVersion) VALUES (" +
        values + ")");
    return load();
  }

  Component component_{state()};
  test_support::ComponentSetters set_{component_};
};

TEST_F(RefreshComponent, CopiesEveryColumn) {
  database_.run(std::string(kFullRow));
  ASSERT_TRUE(load());
  EXPECT_EQ(component_.comp_id(), 7);
  EXPECT_EQ(component_.name(), u"Desk");
  EXPECT_EQ(component_.parent_id(), 3);
  EXPECT_EQ(component_.priority(), 20);
  EXPECT_EQ(component_.image_index(), 4);
  EXPECT_TRUE(component_.force_display());
  EXPECT_EQ(component_.maintenance_type(), ComponentWithPCs_mt);
  EXPECT_EQ(component_.security_group(), u"Admins");
  EXPECT_EQ(component_.report_code(), PCAll_rc);
  EXPECT_EQ(component_.server_name(), u"SRV-1");
  EXPECT_EQ(component_.meta_id(), u"META-7");
  EXPECT_EQ(component_.authorized_role(), u"Keeper");
  EXPECT_EQ(to_utf8(component_.row_version()),
            database_.value("SELECT RowVersion FROM DW_SEC_COMP"));
  EXPECT_EQ(component_.soft_lock(), u"") << "the column is not read";
  EXPECT_EQ(component_.key(), u"C7");
  EXPECT_EQ(message(), u"");
}

TEST_F(RefreshComponent, LeavesTheComponentChanged) {
  database_.run(std::string(kFullRow));
  ASSERT_TRUE(load());
  EXPECT_TRUE(component_.changed());
}

TEST_F(RefreshComponent, PutsDefaultsInThePlaceOfNulls) {
  set_.name(u"n");
  set_.parent_id(9);
  set_.priority(9);
  set_.image_index(9);
  set_.security_group(u"g");
  set_.report_code(PCs_rc);
  set_.server_name(u"s");
  set_.meta_id(u"m");
  set_.authorized_role(u"r");
  set_.row_version(u"00");
  ASSERT_TRUE(load_values("7, NULL, NULL, NULL, NULL, 0, 0, NULL, NULL, NULL, NULL, NULL, NULL"));
  EXPECT_EQ(component_.name(), u"");
  EXPECT_EQ(component_.parent_id(), 0);
  EXPECT_EQ(component_.priority(), 0);
  EXPECT_EQ(component_.image_index(), 1);
  EXPECT_EQ(component_.security_group(), u"");
  EXPECT_EQ(component_.report_code(), None_rc);
  EXPECT_EQ(component_.server_name(), u"");
  EXPECT_EQ(component_.meta_id(), u"");
  EXPECT_EQ(component_.authorized_role(), u"");
  EXPECT_EQ(component_.row_version(), u"");
}

TEST_F(RefreshComponent, ReadsAnImageOf0AsItStands) {
  ASSERT_TRUE(load_values("7, NULL, NULL, NULL, 0, 0, 0, NULL, NULL, NULL, NULL, NULL, NULL"));
  EXPECT_EQ(component_.image_index(), 0);
}

TEST_F(RefreshComponent, ReadsReportCodesInAnyLetterCase) {
  ASSERT_TRUE(load_values("7, '', 0, 0, 1, 0, 0, '', 'cry', '', '', '', NULL"));
  EXPECT_EQ(component_.report_code(), CrystalRpts_rc);
  ASSERT_TRUE(load_values("7, '', 0, 0, 1, 0, 0, '', 'PCX', '', '', '', NULL"));
  EXPECT_EQ(component_.report_code(), None_rc);
}

TEST_F(RefreshComponent, ConvertsWhatTheColumnsHold) {
  ASSERT_TRUE(load_values("' 7 ', 12, '3', 2.5, '4', 'True', '3', 5, 'PC', 6, 7, 8, NULL"));
  EXPECT_EQ(component_.comp_id(), 7);
  EXPECT_EQ(component_.name(), u"12");
  EXPECT_EQ(component_.parent_id(), 3);
  EXPECT_EQ(component_.priority(), 2);
  EXPECT_EQ(component_.image_index(), 4);
  EXPECT_TRUE(component_.force_display());
  EXPECT_EQ(component_.maintenance_type(), ComponentWithPCs_mt);
  EXPECT_EQ(component_.security_group(), u"5");
}

TEST_F(RefreshComponent, TakesMaintenanceTypesThatItDoesNotKnow) {
  ASSERT_TRUE(load_values("7, '', 0, 0, 1, 0, 70000, '', '', '', '', '', NULL"));
  EXPECT_EQ(component_.maintenance_type(), 70000);
}

TEST_F(RefreshComponent, StopsAtANullId) {
  set_.name(u"as it was");
  EXPECT_FALSE(load_values("NULL, 'n', 0, 0, 1, 0, 0, '', '', '', '', '', NULL"));
  EXPECT_EQ(message(), account(u"General", u"RefreshComponent", 94, u"Invalid use of Null"));
  EXPECT_EQ(component_.name(), u"as it was");
}

TEST_F(RefreshComponent, StopsAtAnIdThatIsNoNumber) {
  EXPECT_FALSE(load_values("'C7', 'n', 0, 0, 1, 0, 0, '', '', '', '', '', NULL"));
  EXPECT_EQ(message(), account(u"General", u"RefreshComponent", 13, u"Type mismatch"));
}

TEST_F(RefreshComponent, StopsAtAnIdBeyond16Bits) {
  EXPECT_FALSE(load_values("32768, 'n', 0, 0, 1, 0, 0, '', '', '', '', '', NULL"));
  EXPECT_EQ(message(), account(u"General", u"RefreshComponent", 6, u"Overflow"));
}

TEST_F(RefreshComponent, KeepsTheColumnsBeforeTheOneThatFails) {
  set_.maintenance_type(Report_mt);
  set_.security_group(u"as it was");
  EXPECT_FALSE(load_values("7, 'new', 3, 20, 4, NULL, 3, 'new', '', '', '', '', NULL"));
  EXPECT_EQ(message(), account(u"General", u"RefreshComponent", 94, u"Invalid use of Null"));
  EXPECT_EQ(component_.comp_id(), 7);
  EXPECT_EQ(component_.name(), u"new");
  EXPECT_EQ(component_.image_index(), 4);
  EXPECT_EQ(component_.maintenance_type(), Report_mt);
  EXPECT_EQ(component_.security_group(), u"as it was");
}

TEST_F(RefreshComponent, StopsAtANullMaintenanceType) {
  EXPECT_FALSE(load_values("7, 'new', 3, 20, 4, 1, NULL, 'new', '', '', '', '', NULL"));
  EXPECT_EQ(message(), account(u"General", u"RefreshComponent", 94, u"Invalid use of Null"));
  EXPECT_TRUE(component_.force_display());
  EXPECT_EQ(component_.security_group(), u"");
}

TEST_F(RefreshComponent, StopsAtAMissingColumn) {
  database_.run(std::string(kFullRow));
  EXPECT_FALSE(load(u"Select CompID, CompName From DW_SEC_COMP"));
  EXPECT_EQ(message(), account(u"General", u"RefreshComponent", 3265,
                               u"Item cannot be found in the collection that corresponds to the "
                               u"requested name or ordinal."));
  EXPECT_EQ(component_.name(), u"Desk");
}

TEST_F(RefreshComponent, StopsWithoutACurrentRow) {
  EXPECT_FALSE(load());
  EXPECT_EQ(number(), 3021);
}

TEST_F(RefreshComponent, RefusesAMissingRecordset) {
  EXPECT_FALSE(refresh_component(state(), nullptr, &component_));
  EXPECT_EQ(message(), raised(u"Invalid recordset passed to RefreshComponent routine!", u"General",
                              u"RefreshComponent"));
  EXPECT_EQ(number(), -2147221504);
}

TEST_F(RefreshComponent, RefusesAMissingComponent) {
  ado::Recordset rows;
  EXPECT_FALSE(refresh_component(state(), &rows, nullptr));
  EXPECT_EQ(message(), raised(u"Invalid component passed to RefreshComponent routine!", u"General",
                              u"RefreshComponent"));
}

TEST_F(RefreshComponent, ChecksTheRecordsetBeforeTheComponent) {
  EXPECT_FALSE(refresh_component(state(), nullptr, nullptr));
  EXPECT_TRUE(message().starts_with(u"Invalid recordset passed"));
}

TEST_F(RefreshComponent, ReadsLongTextsAndNulCharacters) {
  using namespace std::string_view_literals;
  ASSERT_TRUE(load_values(
      "7, 'a' || char(0) || 'b', 0, 0, 1, 0, 0, printf('%.*c', 1000000, 'x'), '', '', '', '',"
      " NULL"));
  EXPECT_EQ(component_.name(), u"a\0b"sv);
  EXPECT_EQ(component_.security_group(), Text(1000000, u'x'));
}

}  // namespace
}  // namespace tarnwick
