#include <gtest/gtest.h>

#include "tests/automation/com/connected_client.h"
#include "tests/engines/odbc/scratch_database.h"

// The registered server on a SQL Server, where TARNWICK_TEST_SQLSERVER names one.

namespace tarnwick {
namespace {

using odbc_test::ScratchDatabase;
using test_support::ComThread;
using test_support::LateBound;

class SqlServerOverCom : public ::testing::Test {
 protected:
  void SetUp() override {
    const std::string why_not = odbc_test::why_no_velmar_sec();
    if (!why_not.empty()) GTEST_SKIP() << why_not;
    database_ = std::make_unique<ScratchDatabase>(u"Velmar_Sec");
    server_ = std::make_unique<LateBound>(LateBound::create(L"Tarnwick.Server"));
  }

  [[nodiscard]] bool connect(TextView string) const {
    return server_
        ->call(L"SetConnection",
               {Text(string), Text(database_->role()), Text(database_->role_password())})
        .boolean();
  }
  [[nodiscard]] Text message() const { return server_->call(L"LastErrorMsg").text(); }

  ComThread com_;
  std::unique_ptr<ScratchDatabase> database_;
  std::unique_ptr<LateBound> server_;
};

TEST_F(SqlServerOverCom, LoadsMaintainsAndStoresARecord) {
  database_->session()->execute(
      u"Insert Into DW_Reports (ReportName, Title, Created, SQLStmnt, ReportType, MaintType) "
      u"Values ('Sales', 'Old', '2023-12-24T06:00:00', 'Select 1', 'CRY', 4)");
  ASSERT_TRUE(connect(database_->login_string())) << to_display_utf8(message());
  ASSERT_TRUE(server_->call(L"Refresh").boolean()) << to_display_utf8(message());
  const LateBound sales = server_->object(L"Reports").object(L"Item", {u"Sales"});
  EXPECT_EQ(sales.call(L"Title").text(), u"Old");
  EXPECT_EQ(sales.call(L"Created").days(), 45284.25);
  ASSERT_TRUE(sales.call(L"LockRecord").boolean()) << to_display_utf8(message());
  sales.put(L"Title", u"\u00DCbersicht \u20AC");
  EXPECT_EQ(sales.call(L"Update").number(), 0) << to_display_utf8(message());
  ASSERT_TRUE(server_->call(L"Refresh").boolean()) << to_display_utf8(message());
  EXPECT_EQ(server_->object(L"Reports").object(L"Item", {u"Sales"}).call(L"Title").text(),
            u"\u00DCbersicht \u20AC");
}

TEST_F(SqlServerOverCom, TellsOfALoginThatIsRefused) {
  EXPECT_FALSE(connect(database_->login_string(u"wrong")));
  EXPECT_NE(message().find(u"Error #:    \t-2147217843"), Text::npos) << to_display_utf8(message());
}

}  // namespace
}  // namespace tarnwick
